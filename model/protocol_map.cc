#include "model/protocol_map.h"

namespace IpSnmp {

namespace {
// An empty map allocates nothing: the library is loaded into a daemon that an exception would end.
ProtocolMap processMap;
}  // namespace

std::optional<IpRouteProtocol> ProtocolMap::protocol(Routing::Fib::RouteType routeType) const {
  auto const found = protocol_.find(routeType);
  if (found == protocol_.end()) return std::nullopt;
  return found->second;
}

void ProtocolMap::protocolIs(Routing::Fib::RouteType routeType, IpRouteProtocol protocol) {
  protocol_.insert_or_assign(routeType, protocol);
}

ProtocolMap& protocolMap() { return processMap; }

}  // namespace IpSnmp
