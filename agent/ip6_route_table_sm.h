#pragma once
// Keeps the IPv6 rows of inetCidrRouteTable in IpForwardMib equal to the IPv6 forwarding table. How
// it goes about it is said in route_table_sm.h. A via has the ifIndex that its row needs: no
// interface is asked for its status.
//
// Its passes take half the time of those of IPv4: when both have much to do, a turn of the activity
// has one of each.

#include <vector>

#include <absl/container/btree_map.h>

#include "agent/route_table_sm.h"

namespace IpSnmp {

class Ip6RouteTableSm : public RouteTableSm<Dovel::Ip6Prefix> {
 public:
  static constexpr double backlogQuantumDefault = 0.005;

  /// Enters every route that is there in the backlog. An input that is null is not watched.
  Ip6RouteTableSm(Mav::Ptr<Mav::ActivityConfig> activityConfig, Mav::Ptr<IpForwardMib> ipForwardMib,
                  Mav::Ptr<Pondo::Fib::Route6Status const> routeStatus,
                  Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus,
                  Mav::Ptr<Mav::Clock const> clock);

  // One pass. The hops of a fec are kept for it: a fec that a million routes use is read and sorted
  // once.
  void doProcessIpRouteBacklog() override;

 private:
  using Hops = std::vector<Inet6RouteHop>;

  // As RouteTableSm says. All rows of a prefix change in one call, so that no request sees a part.
  void process(Dovel::Ip6Prefix const& prefix) override;
  std::optional<Dovel::Ip6Prefix> filedRoute(Place const& from) const override;
  /// The rows of the route, in hops_.
  void takeHops(Dovel::Ip6Prefix const& prefix, Pondo::Fib::Route const& route);

  // Of the prefix at hand; a member, so that its memory serves the next one too.
  Hops hops_;
  absl::btree_map<Pondo::Fib::FecId, Hops> hopsOfFecs_;  // of one pass
};

}  // namespace IpSnmp
