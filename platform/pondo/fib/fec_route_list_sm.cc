#include "platform/pondo/fib/fec_route_list_sm.h"

#include <utility>

namespace Pondo::Fib {

template <class Prefix>
BasicFecRouteListSm<Prefix>::MavRouteStatus::MavRouteStatus(Mav::Ptr<RouteStatus const> routeStatus,
                                                            BasicFecRouteListSm& fecRouteListSm)
    : RouteStatus::NotifieeConst(std::move(routeStatus)), fecRouteListSm_(fecRouteListSm) {}

template <class Prefix>
void BasicFecRouteListSm<Prefix>::MavRouteStatus::onRoute(Prefix const& prefix) {
  fecRouteListSm_.handleRoute(prefix);
}

template <class Prefix>
std::optional<Prefix> BasicFecRouteListSm<Prefix>::MavRouteStatus::filedRoute(
    PackedPrefix<Prefix> const& from) const {
  return fecRouteListSm_.fecRouteList_->filedRoute(from);
}

template <class Prefix>
BasicFecRouteListSm<Prefix>::BasicFecRouteListSm(Mav::Ptr<RouteStatus const> routeStatus,
                                                 Mav::Ptr<ForwardingStatus const> forwardingStatus,
                                                 Mav::Ptr<FecRouteList> fecRouteList)
    : forwardingStatus_(std::move(forwardingStatus)),
      fecRouteList_(std::move(fecRouteList)),
      mavRouteStatus_(std::move(routeStatus), *this) {
  handleRoute();
}

template <class Prefix>
BasicFecRouteListSm<Prefix>::~BasicFecRouteListSm() = default;

template <class Prefix>
void BasicFecRouteListSm<Prefix>::handleRoute() {
  if (!routeStatus()) return;
  // Registered before (mavRouteStatus_): what changes from here on is heard.
  routeStatus()->forEachRoute([this](Prefix const& prefix, Route const& route) {
    fecRouteList_->routeIs(prefix, route.fecId);
  });
}

template <class Prefix>
void BasicFecRouteListSm<Prefix>::handleRoute(Prefix const& prefix) {
  // What it throws while the tables cannot be read leaves the prefix filed as it is; the same slice
  // is announced again.
  if (auto const route = routeStatus()->route(prefix)) {
    fecRouteList_->routeIs(prefix, route->fecId);
  } else {
    fecRouteList_->routeDel(prefix);
  }
}

template class BasicFecRouteListSm<Dovel::Prefix>;
template class BasicFecRouteListSm<Dovel::Ip6Prefix>;

}  // namespace Pondo::Fib
