#pragma once
// The ages of routes, read where the routes are: in the shared tables. A row keeps none, so that an
// age costs nobody anything who does not ask for it.
//
// What one request reads is of one snapshot, which ends with the next turn of the activity; that
// comes right behind the request.

#include <algorithm>

#include "model/inet_cidr_routes.h"
#include "platform/mav/time.h"
#include "platform/pondo/fib/shared_fib.h"

namespace OvoSnmp {

class RouteAges : public IpSnmp::RouteAges {
 public:
  /// Holds the entities, which may outlive the tables: they raise ConsistencyException then.
  explicit RouteAges(Pondo::Fib::SharedFib const& fib)
      : routes_(fib.routeStatus()), routes6_(fib.route6Status()) {}

  /// Seconds since the publisher saw the route change; 0 where it was there before, has gone, or
  /// cannot be read now.
  std::uint32_t age(Dovel::Prefix const& prefix) const override { return ageOf(*routes_, prefix); }
  std::uint32_t age(Dovel::Ip6Prefix const& prefix) const override {
    return ageOf(*routes6_, prefix);
  }

 private:
  template <class Status, class Prefix>
  static std::uint32_t ageOf(Status const& status, Prefix const& prefix) {
    try {
      // One descent in the shared table.
      auto const route = status.route(prefix);
      // 0: it was there before the publisher, which cannot know since when.
      if (!route || route->changedAt == 0) return 0;
      return static_cast<std::uint32_t>(std::max(0.0, Mav::bootTime() - route->changedAt));
    } catch (Pondo::ConsistencyException const&) {
      return 0;  // the follower tells in the log why
    }
  }

  Mav::Ptr<Pondo::Fib::RouteStatus const> const routes_;
  Mav::Ptr<Pondo::Fib::Route6Status const> const routes6_;
};

}  // namespace OvoSnmp
