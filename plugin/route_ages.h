#pragma once
// The ages of routes, read where the routes are: in the shared tables. A row keeps none, so that an
// age costs nobody anything who does not ask for it.
//
// What one request reads is of one snapshot, which ends with the next turn of the activity; that
// comes right behind the request.

#include "model/inet_cidr_routes.h"
#include "platform/pondo/fib/shared_fib.h"

namespace OvoSnmp {

class RouteAges : public IpSnmp::RouteAges {
 public:
  /// Holds the entities, which may outlive the tables: they raise ConsistencyException then.
  explicit RouteAges(Pondo::Fib::SharedFib const& fib)
      : routes_(fib.routeStatus()), routes6_(fib.route6Status()) {}

  /// Seconds since the publisher saw the route change; 0 where it was there before, has gone, or
  /// cannot be read now.
  std::uint32_t age(Dovel::Prefix const& prefix) const override;
  std::uint32_t age(Dovel::Ip6Prefix const& prefix) const override;

 private:
  Mav::Ptr<Pondo::Fib::RouteStatus const> const routes_;
  Mav::Ptr<Pondo::Fib::Route6Status const> const routes6_;
};

}  // namespace OvoSnmp
