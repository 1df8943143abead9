// The IPv6 rows of inetCidrRouteTable, and the IPv4 routes that refuse.

#include "agent/ip6_route_table_sm.h"

#include <random>
#include <sstream>

#include "tests/agent/route_fixture.h"

namespace {

using namespace Routing::Fib;
using Dovel::Ip6Addr;
using Dovel::Ip6Prefix;
using Pondo::Fib::FecId;
using testing::ElementsAre;

class Ip6RouteTableSmTest : public RouteFixture {
 protected:
  Mav::Ptr<IpSnmp::Ip6RouteTableSm> newSm6() {
    return Mav::makeObject<IpSnmp::Ip6RouteTableSm>(nullptr, mib_, routes6_, fecs_, clock_);
  }
  static Pondo::Fib::Via via(std::string_view nextHop, std::int32_t ifIndex,
                             RouteType type = routeTypeUnknown) {
    return {{}, id("eth" + std::to_string(ifIndex)), ifIndex, Ip6Addr(nextHop), type};
  }
  void route6(std::string_view text, std::uint64_t fecId, RouteType type,
              RouteType refusedType = routeTypeUnknown) {
    routes6_->routeIs(Ip6Prefix(text),
                      {FecId(fecId), Routing::RouteMetric(1024), {}, type, refusedType});
  }
  Texts rows() const {
    Texts texts;
    for (auto row = std::as_const(*mib_).inetCidrRoutes().first(); row; ++row) {
      std::ostringstream text;
      text << row.key() << " dev " << row->ifIndex << " type " << int{row->type} << " protocol "
           << row->protocol;
      texts.push_back(text.str());
    }
    return texts;
  }
  void settle() {
    while (isPassPending()) turn();
  }

  Mav::Ptr<Pondo::Fib::SimulatedRoute6Status> routes6_ =
      Mav::makeObject<Pondo::Fib::SimulatedRoute6Status>();
};

TEST_F(Ip6RouteTableSmTest, aRowIsANextHopWithTheProtocolItWasLearnedFrom) {
  auto const sm = newSm6();
  fecs_->fecIs(FecId(1), {{via("fe80::1", 4, routeTypeOther), via("2001:db8::1", 4),
                           via("2001:db8::1", 3), via("fe80::1", 3), via("::", 9), via("::", 5)}});
  route6("::/0", 1, routeTypeStatic);
  route6("2001:db8::/32", 2, routeTypeBgp);  // its fec is not there
  settle();
  EXPECT_THAT(rows(), ElementsAre("::/0 via  dev 5 type 3 protocol routeTypeStatic",
                                  "::/0 via 2001:db8::1 dev 3 type 4 protocol routeTypeStatic",
                                  "::/0 via fe80::1%3 dev 3 type 4 protocol routeTypeStatic",
                                  "::/0 via fe80::1%4 dev 4 type 4 protocol routeTypeOther"));
  fecs_->fecIs(FecId(1), {{via("::", 5)}});
  route6("fe80::/64%5", 1, routeTypeConnected);
  settle();
  EXPECT_THAT(rows(), ElementsAre("::/0 via  dev 5 type 3 protocol routeTypeStatic",
                                  "fe80::%5/64 via  dev 5 type 3 protocol routeTypeConnected"));
}

/// Whatever comes in whatever order, with passes cut short anywhere.
TEST_F(Ip6RouteTableSmTest, afterAnyHistoryTheRowsAreWhatTheTablesSay) {
  auto const sm = newSm6();
  std::mt19937 random(1);
  auto const draw = [&](unsigned end) { return static_cast<unsigned>(random() % end); };
  for (int round = 0; round < 200; ++round) {
    time_.stepPerReading(1.0);
    sm->backlogQuantumIs(1.5 + draw(4));
    for (int n = 0; n < 20; ++n) {
      FecId const fecId(1 + draw(4));
      Ip6Prefix const prefix("2001:db8:0:" + std::to_string(draw(8)) + "::/64");
      switch (draw(6)) {
        case 0:
          fecs_->fecIs(fecId, {{via("2001:db8::" + std::to_string(draw(3)), 1 + int(draw(3)))}});
          break;
        case 1:
          fecs_->fecDel(fecId);
          break;
        case 2:
          routes6_->routeDel(prefix);
          break;
        case 3:
          turn();
          break;
        default:
          route6(prefix.stringValue(), fecId.value(),
                 draw(2) == 0 ? routeTypeBgp : RouteType(draw(4)));
      }
    }
    time_.stepPerReading(0.0);
    settle();
    EXPECT_TRUE(sm->backlog().empty());
    auto const after = rows();
    mib_ = IpSnmp::ipForwardMibFactory("ipforwardmib");
    auto const fresh = newSm6();
    settle();
    ASSERT_EQ(after, rows()) << "round " << round;
    mib_ = sm->ipForwardMib();
  }
}

}  // namespace
