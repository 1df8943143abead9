#pragma once
// A forwarding table and interfaces in memory, the state machine on top under a clock that the test
// turns, and what its table shows as text.

#include "agent/ip_route_table_sm.h"
#include "tests/agent/device_fixture.h"
#include "tests/support/simulated_fib.h"

class RouteFixture : public DeviceFixture {
 protected:
  using RouteType = Routing::Fib::RouteType;

  static Dovel::Prefix prefix(std::string_view text) { return Dovel::Prefix(text); }

  Mav::Ptr<IpSnmp::IpRouteTableSm> newSm() {
    return Mav::makeObject<IpSnmp::IpRouteTableSm>(nullptr, mib_, dir_, routes_, fecs_, clock_);
  }
  /// Each via "NEXTHOP@INTERFACE", either of them empty where there is none.
  void fec(std::uint64_t fecId, Texts const& vias) {
    Pondo::Fib::Fec fec;
    for (auto const& text : vias) {
      auto const at = text.find('@');
      auto const nextHop = at == 0 ? Dovel::IpAddr() : Dovel::IpAddr(text.substr(0, at));
      fec.vias.push_back({nextHop, id(text.substr(at + 1)), 0});
    }
    fecs_->fecIs(Pondo::Fib::FecId(fecId), fec);
  }
  void route(std::string_view text, std::uint64_t fecId,
             RouteType type = Routing::Fib::routeTypeStatic, std::uint32_t metric = 20) {
    routes_->routeIs(prefix(text),
                     {.fecId = Pondo::Fib::FecId(fecId),
                      .metric = Routing::RouteMetric(metric),
                      .preference = Routing::RoutePreference(1),
                      .routeType = type,
                      .refusedType = isRefusal(type) ? Routing::Fib::routeTypeDhcp : RouteType()});
  }

  /// One turn of the activity.
  void turn() { clock_->deliver(); }
  bool isPassPending() const { return clock_->timeNext() == Mav::asap; }

  /// "PREFIX NEXTHOP IFINDEX".
  Texts rows() const {
    Texts texts;
    for (auto row = std::as_const(*mib_).ipCidrRouteTableIterator(); row; ++row) {
      auto const& key = row.key();
      EXPECT_EQ(key.tos(), 0U);
      texts.push_back(Dovel::Prefix(key.dest(), key.length()).stringValue() + ' ' +
                      key.nextHop().stringValue() + ' ' + std::to_string(row->ifIndex()));
    }
    return texts;
  }

  Texts backlog(IpSnmp::IpRouteTableSm const& sm) const {
    Texts texts;
    for (auto i = sm.backlogIterator(); i; ++i) texts.push_back(i.key().stringValue());
    return texts;
  }

  Mav::SimulatedTime time_;
  Mav::Ptr<Mav::Clock> clock_ = Mav::makeObject<Mav::Clock>();
  Mav::Ptr<IpSnmp::IpForwardMib> mib_ = IpSnmp::ipForwardMibFactory("ipforwardmib");
  Mav::Ptr<Pondo::Fib::SimulatedRouteStatus> routes_ =
      Mav::makeObject<Pondo::Fib::SimulatedRouteStatus>();
  Mav::Ptr<Pondo::Fib::SimulatedForwardingStatus> fecs_ =
      Mav::makeObject<Pondo::Fib::SimulatedForwardingStatus>();
};
