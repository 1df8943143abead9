#pragma once
// Keeps a FecRouteList in step with the routes: one look into the table for each route that is
// announced. Routes of the types that carry no traffic, which have no fec, are filed under fec 0.
// All on the agent's thread.

#include "platform/pondo/fec_route_list.h"
#include "platform/pondo/forwarding_status.h"
#include "platform/pondo/route_status.h"

namespace Pondo::Fib {

class FecRouteListSm : public Mav::Object {
 public:
  /// Files every route that is there.
  FecRouteListSm(Mav::Ptr<RouteStatus const> routeStatus,
                 Mav::Ptr<ForwardingStatus const> forwardingStatus,
                 Mav::Ptr<FecRouteList> fecRouteList);
  ~FecRouteListSm() override;
};

}  // namespace Pondo::Fib
