#pragma once
// A scalar that is one attribute of an entity: ipForwarding and ipv6IpForwarding (RFC 4293),
// ipCidrRouteNumber and inetCidrRouteNumber (RFC 4292).

#include <cstdint>
#include <string_view>

#include "platform/snmp/convert.h"
#include "platform/snmp/net_snmp.h"

namespace IpSnmp {

struct EntityScalar {
  // What it calls itself and its source, in traces.
  char const* object;     // "ipForwarding"
  char const* handler;    // "handle_ipForwarding"
  std::string_view path;  // of the entity
  char const* entityType;
  char const* attribute;
  char const* conversion;
  unsigned char type;  // ASN
  /// Of the entity, in the shape of platform/snmp/convert.h.
  std::int32_t (*convert)(void const* entity, unsigned char* buffer, std::int32_t size);
};

/// How many rows there are, which `count` has of an Entity, as a Gauge32.
template <class Entity, auto count>
constexpr EntityScalar rowCount(char const* object, char const* handler, char const* entityType,
                                char const* attribute) {
  return {object,
          handler,
          Entity::path,
          entityType,
          attribute,
          "S32ToAsnInteger",
          ASN_GAUGE,
          [](void const* entity, unsigned char* buffer, std::int32_t size) {
            return Snmp::SnmpConvert<int, Snmp::S32ToAsnIntegerF>(
                static_cast<int>(count(*static_cast<Entity const*>(entity))), buffer, size);
          }};
}

/// Answers a request of net-snmp mode `mode`; `entity` may be null. Acts on the first request: the
/// scalar helper delivers one. Returns the handler's status.
int answerScalar(EntityScalar const& scalar, void const* entity, int mode,
                 netsnmp_request_info* requests);

}  // namespace IpSnmp
