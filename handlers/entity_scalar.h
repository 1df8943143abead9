#pragma once
// A scalar that is one attribute of an entity: ipForwarding and ipv6IpForwarding (RFC 4293),
// ipCidrRouteNumber and inetCidrRouteNumber (RFC 4292). A unit declares it as a constant, registers
// it, and has its callback answer from it. On snmpd's thread.
//
// A callback of its own for each scalar: net-snmp, traces and a tracer know it by its name
// (handle_ipForwarding). What they do is the same, and stands here once.
//
// A scalar whose entity is not there is registered all the same: its object answers genErr, and the
// daemon's own does not answer in its place. All members of an EntityScalar point to what lives
// as long as the library; a unit makes it constexpr.

#include <cstdint>
#include <span>
#include <string_view>

#include "handlers/unit_registration.h"
#include "platform/mav/object.h"
#include "platform/snmp/convert.h"
#include "platform/snmp/net_snmp.h"
#include "platform/snmp/snmp_util.h"

namespace IpSnmp {

struct EntityScalar {
  std::span<oid const> objectId;
  /// Read-write has each SET come to the callback, which refuses it itself.
  int modes;  // of net-snmp: HANDLER_CAN_RONLY, HANDLER_CAN_RWRITE
  // What it calls itself and its source, in traces.
  char const* object;     // "ipForwarding"
  char const* handler;    // "handle_ipForwarding"
  std::string_view path;  // of the entity
  /// That is expected at the path, for the trace of one that is not there.
  char const* entityType;
  char const* attribute;
  char const* conversion;
  unsigned char type;  // ASN
  /// Of the entity, in the shape of platform/snmp/convert.h.
  std::int32_t (*convert)(void const* entity, unsigned char* buffer, std::int32_t size);
};

/// How many rows there are, which `count` has of an Entity, as a Gauge32. As a conversion of 32
/// bits with a sign writes it: the bits are the same.
template <class Entity, auto count>
constexpr EntityScalar rowCount(std::span<oid const> objectId, char const* object,
                                char const* handler, char const* entityType,
                                char const* attribute) {
  return {objectId,
          HANDLER_CAN_RONLY,
          object,
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

/// Registers the scalar with the entity that stands at the entity's path; without one, requests
/// fail with genErr.
template <class Entity>
void registerScalar(EntityScalar const& scalar, Netsnmp_Node_Handler* callback) {
  auto const entity = Mav::objectCast<Entity>(SnmpUtil::getEntityRelative(Entity::path));
  registerScalar(scalar.object, callback, scalar.objectId, scalar.modes, entity.get());
}

/// The body of the scalar's callback. Reads the entity in `registration->my_reg_void`, which may be
/// null, and refuses every SET with notWritable. Acts on the first request: net-snmp's scalar
/// helper delivers one. Returns the handler's status.
int answerScalar(EntityScalar const& scalar, netsnmp_handler_registration const* registration,
                 netsnmp_agent_request_info const* request,
                 netsnmp_request_info* requests) noexcept;

}  // namespace IpSnmp
