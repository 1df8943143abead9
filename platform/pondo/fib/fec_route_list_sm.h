#pragma once
// Keeps a FecRouteList, of IPv4 or IPv6, in step with the routes. It looks into the table once for
// each route that is announced. A route of a type that carries no traffic has no fec; it is filed
// under fec 0, so that its going is noticed too. Fecs need no watching, because the routes say
// which fec they use. All on the agent's thread.

#include <utility>

#include "platform/pondo/fib/fec_route_list.h"
#include "platform/pondo/fib/forwarding_status.h"
#include "platform/pondo/fib/route_status.h"

namespace Pondo::Fib {

template <class Prefix>
class BasicFecRouteListSm : public Mav::Object {
 public:
  using RouteStatus = BasicRouteStatus<Prefix>;
  using FecRouteList = BasicFecRouteList<Prefix>;

  /// Files every route that is there. Where a status is null there is nothing to follow.
  /// ConsistencyException when the routes cannot be read now. At its end the list stays as it is:
  /// whoever has it may go on reading it.
  BasicFecRouteListSm(Mav::Ptr<RouteStatus const> routeStatus,
                      Mav::Ptr<ForwardingStatus const> forwardingStatus,
                      Mav::Ptr<FecRouteList> fecRouteList)
      : forwardingStatus_(std::move(forwardingStatus)),
        fecRouteList_(std::move(fecRouteList)),
        mavRouteStatus_(std::move(routeStatus), *fecRouteList_) {
    if (!this->routeStatus()) return;
    // Registered before (mavRouteStatus_): what changes from here on is heard.
    this->routeStatus()->forEachRoute([this](Prefix const& prefix, Route const& route) {
      fecRouteList_->routeIs(prefix, route.fecId);
    });
  }

  Mav::Ptr<RouteStatus const> const& routeStatus() const { return mavRouteStatus_.notifier(); }
  Mav::Ptr<ForwardingStatus const> const& forwardingStatus() const { return forwardingStatus_; }
  Mav::Ptr<FecRouteList> const& fecRouteList() const { return fecRouteList_; }

 private:
  /// Hears of routes. What it has filed a comparison announces too, so that a route that went
  /// unnoticed leaves the list.
  class MavRouteStatus : public RouteStatus::NotifieeConst {
   public:
    MavRouteStatus(Mav::Ptr<RouteStatus const> routeStatus, FecRouteList& list)
        : RouteStatus::NotifieeConst(std::move(routeStatus)), list_(list) {}
    void onRoute(Prefix const& prefix) override {
      // What it throws while the tables cannot be read leaves the prefix filed as it is; the same
      // slice is announced again.
      if (auto const route = this->notifier()->route(prefix)) {
        list_.routeIs(prefix, route->fecId);
      } else {
        list_.routeDel(prefix);
      }
    }
    std::optional<Prefix> filedRoute(PackedPrefix<Prefix> const& from) const override {
      return list_.filedRoute(from);
    }

   private:
    FecRouteList& list_;
  };

  // Fixed after construction.
  Mav::Ptr<ForwardingStatus const> const forwardingStatus_;
  Mav::Ptr<FecRouteList> const fecRouteList_;
  MavRouteStatus mavRouteStatus_;
};

using FecRouteListSm = BasicFecRouteListSm<Dovel::Prefix>;
using FecRoute6ListSm = BasicFecRouteListSm<Dovel::Ip6Prefix>;

}  // namespace Pondo::Fib
