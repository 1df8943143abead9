#include "agent/route_refusal.h"

namespace IpSnmp {

std::optional<InetCidrRouteRow> refusalRow(Pondo::Fib::Route const& route) {
  if (!isRefusal(route.routeType)) return std::nullopt;
  // RFC 4292, inetCidrRouteType: reject(2) tells the sender, blackhole(5) drops in silence.
  // Unreachable and prohibit differ in the ICMP message alone.
  auto const type = route.routeType == Routing::Fib::routeTypeBlackhole ? inetCidrRouteTypeBlackhole
                                                                        : inetCidrRouteTypeReject;
  // refusedType: of a refusal the route's own type says how it refuses, and no protocol.
  return InetCidrRouteRow{0, route.metric, type, route.refusedType};
}

}  // namespace IpSnmp
