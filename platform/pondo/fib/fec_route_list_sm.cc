#include "platform/pondo/fib/fec_route_list_sm.h"

#include <utility>

namespace Pondo::Fib {

FecRouteListSm::MavRouteStatus::MavRouteStatus(Mav::Ptr<RouteStatus const> routeStatus,
                                               FecRouteListSm& fecRouteListSm)
    : NotifieeConst(std::move(routeStatus)), fecRouteListSm_(fecRouteListSm) {}

void FecRouteListSm::MavRouteStatus::onRoute(Dovel::Prefix const& prefix) {
  fecRouteListSm_.handleRoute(prefix);
}

std::optional<Dovel::Prefix> FecRouteListSm::MavRouteStatus::filedRoute(
    Dovel::Prefix const& from) const {
  return fecRouteListSm_.fecRouteList_->filedRoute(from);
}

FecRouteListSm::FecRouteListSm(Mav::Ptr<RouteStatus const> routeStatus,
                               Mav::Ptr<ForwardingStatus const> forwardingStatus,
                               Mav::Ptr<FecRouteList> fecRouteList)
    : forwardingStatus_(std::move(forwardingStatus)),
      fecRouteList_(std::move(fecRouteList)),
      mavRouteStatus_(std::move(routeStatus), *this) {
  handleRoute();
}

FecRouteListSm::~FecRouteListSm() = default;

void FecRouteListSm::handleRoute() {
  if (!routeStatus()) return;
  routeStatus()->forEachRoute([this](Dovel::Prefix const& prefix, Route const& route) {
    fecRouteList_->routeIs(prefix, route.fecId);
  });
}

void FecRouteListSm::handleRoute(Dovel::Prefix const& prefix) {
  if (auto const route = routeStatus()->route(prefix)) {
    fecRouteList_->routeIs(prefix, route->fecId);
  } else {
    fecRouteList_->routeDel(prefix);
  }
}

}  // namespace Pondo::Fib
