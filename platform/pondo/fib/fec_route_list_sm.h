#pragma once
// Keeps a FecRouteList in step with the routes. It looks into the table once for each route that is
// announced. A route of a type that carries no traffic has no fec; it is filed under fec 0, so that
// its going is noticed too. Fecs need no watching, because the routes say which fec they use. All
// on the agent's thread.

#include "platform/pondo/fib/fec_route_list.h"
#include "platform/pondo/fib/forwarding_status.h"
#include "platform/pondo/fib/route_status.h"

namespace Pondo::Fib {

class FecRouteListSm : public Mav::Object {
 public:
  /// Files every route that is there. Where a status is null there is nothing to follow.
  /// ConsistencyException when the routes cannot be read now.
  FecRouteListSm(Mav::Ptr<RouteStatus const> routeStatus,
                 Mav::Ptr<ForwardingStatus const> forwardingStatus,
                 Mav::Ptr<FecRouteList> fecRouteList);
  ~FecRouteListSm() override;

  Mav::Ptr<RouteStatus const> const& routeStatus() const { return mavRouteStatus_.notifier(); }
  Mav::Ptr<ForwardingStatus const> const& forwardingStatus() const { return forwardingStatus_; }
  Mav::Ptr<FecRouteList> const& fecRouteList() const { return fecRouteList_; }

 private:
  class MavRouteStatus : public RouteStatus::NotifieeConst {
   public:
    MavRouteStatus(Mav::Ptr<RouteStatus const> routeStatus, FecRouteListSm& fecRouteListSm);
    void onRoute(Dovel::Prefix const& prefix) override;
    std::optional<Dovel::Prefix> filedRoute(Dovel::Prefix const& from) const override;

   private:
    FecRouteListSm& fecRouteListSm_;
  };

  void handleRoute();
  void handleRoute(Dovel::Prefix const& prefix);

  // Fixed after construction.
  Mav::Ptr<ForwardingStatus const> const forwardingStatus_;
  Mav::Ptr<FecRouteList> const fecRouteList_;
  MavRouteStatus mavRouteStatus_;
};

}  // namespace Pondo::Fib
