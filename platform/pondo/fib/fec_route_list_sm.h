#pragma once
// Keeps a FecRouteList, of IPv4 or IPv6, in step with the routes. It looks into the table once for
// each route that is announced. A route of a type that carries no traffic has no fec; it is filed
// under fec 0, so that its going is noticed too. Fecs need no watching, because the routes say
// which fec they use. All on the agent's thread.

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
  /// ConsistencyException when the routes cannot be read now.
  BasicFecRouteListSm(Mav::Ptr<RouteStatus const> routeStatus,
                      Mav::Ptr<ForwardingStatus const> forwardingStatus,
                      Mav::Ptr<FecRouteList> fecRouteList);
  /// The list stays as it is: whoever has it may go on reading it.
  ~BasicFecRouteListSm() override;

  Mav::Ptr<RouteStatus const> const& routeStatus() const { return mavRouteStatus_.notifier(); }
  Mav::Ptr<ForwardingStatus const> const& forwardingStatus() const { return forwardingStatus_; }
  Mav::Ptr<FecRouteList> const& fecRouteList() const { return fecRouteList_; }

 private:
  /// Hears of routes. What it has filed a comparison announces too, so that a route that went
  /// unnoticed leaves the list.
  class MavRouteStatus : public BasicRouteStatus<Prefix>::NotifieeConst {
   public:
    MavRouteStatus(Mav::Ptr<RouteStatus const> routeStatus, BasicFecRouteListSm& fecRouteListSm);
    void onRoute(Prefix const& prefix) override;
    std::optional<Prefix> filedRoute(PackedPrefix<Prefix> const& from) const override;

   private:
    BasicFecRouteListSm& fecRouteListSm_;
  };

  /// Files what is there at the start; then each route as it is announced.
  void handleRoute();
  void handleRoute(Prefix const& prefix);

  // Fixed after construction.
  Mav::Ptr<ForwardingStatus const> const forwardingStatus_;
  Mav::Ptr<FecRouteList> const fecRouteList_;
  MavRouteStatus mavRouteStatus_;
};

using FecRouteListSm = BasicFecRouteListSm<Dovel::Prefix>;
using FecRoute6ListSm = BasicFecRouteListSm<Dovel::Ip6Prefix>;

}  // namespace Pondo::Fib
