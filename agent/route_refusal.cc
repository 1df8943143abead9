#include "agent/route_refusal.h"

namespace IpSnmp {

std::optional<InetCidrRouteRow> refusalRow(Pondo::Fib::Route const& route) {
  if (!isRefusal(route.routeType)) return std::nullopt;
  auto const type = route.routeType == Routing::Fib::routeTypeBlackhole ? inetCidrRouteTypeBlackhole
                                                                        : inetCidrRouteTypeReject;
  return InetCidrRouteRow{0, route.metric, type, route.refusedType};
}

}  // namespace IpSnmp
