#pragma once
// The one body of ipForwarding and ipv6IpForwarding (RFC 4293): they differ by name and entity.

#include "platform/snmp/net_snmp.h"

namespace IpSnmp {

/// What the two scalars call themselves and their source, in traces.
struct ForwardingScalar {
  char const* object;   // "ipForwarding"
  char const* handler;  // "handle_ipForwarding"
  char const* path;     // of the entity
  char const* entityType;
};

inline constexpr ForwardingScalar ipForwardingScalar{"ipForwarding", "handle_ipForwarding",
                                                     "Kelbase/routing/config", "Routing::Config"};
inline constexpr ForwardingScalar ipv6IpForwardingScalar{
    "ipv6IpForwarding", "handle_ipv6IpForwarding", "Kelbase/routing6/config", "Routing6::Config"};

/// Answers a request of net-snmp mode `mode`; `routing` is null when the entity is absent. Acts on
/// the first request: the scalar helper delivers one. Returns the handler's status.
int answerForwarding(ForwardingScalar const& scalar, bool const* routing, int mode,
                     netsnmp_request_info* requests);

/// As answerForwarding, from the entity, which may be null.
template <class Config>
int handleForwarding(ForwardingScalar const& scalar, Config const* config, int mode,
                     netsnmp_request_info* requests) {
  if (!config) return answerForwarding(scalar, nullptr, mode, requests);
  bool const routing = config->routing();
  return answerForwarding(scalar, &routing, mode, requests);
}

}  // namespace IpSnmp
