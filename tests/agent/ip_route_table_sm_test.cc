// The passes: their quantum, where they go on, and what they leave when something is thrown; and
// who waits for them or hears of them.

#include "tests/agent/route_fixture.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

class IpRouteTableSmTest : public RouteFixture {
 protected:
  IpRouteTableSmTest() {
    link("eth1", 3);
    link("eth2", 4);
    fec(1, {"192.0.2.1@eth1"});
  }
  void announce(std::initializer_list<char const*> prefixes) {
    for (auto const* text : prefixes) route(text, 1);
  }
  /// A pass gets so far that it looks at its time `readings` times before the quantum is over.
  void allow(unsigned readings) {
    time_.stepPerReading(1.0);
    sm_->backlogQuantumIs(readings + 0.5);
  }
  void allowAll() { time_.stepPerReading(0.0); }

  Mav::Ptr<IpSnmp::IpRouteTableSm> const sm_ = newSm();
};

TEST_F(IpRouteTableSmTest, aPassThatIsOverTimeYieldsAndGoesOnAtItsBookmark) {
  announce({"10.3.0.0/16", "10.1.0.0/16", "10.2.0.0/16", "10.4.0.0/16"});
  allow(2);
  AgentLines lines(2);
  turn();
  EXPECT_THAT(lines.take(), ElementsAre(HasSubstr("Starting"),
                                        "doProcessIpRouteBacklog: Backlog processing yielding"));
  EXPECT_THAT(rows(), ElementsAre("10.1.0.0/16 192.0.2.1 3", "10.2.0.0/16 192.0.2.1 3"));
  EXPECT_THAT(backlog(*sm_), ElementsAre("10.3.0.0/16", "10.4.0.0/16"));
  EXPECT_EQ(sm_->bookmark(), prefix("10.3.0.0/16"));
  EXPECT_TRUE(isPassPending());

  announce({"10.0.0.0/16", "10.3.0.0/16", "10.5.0.0/16"});  // meanwhile
  turn();
  EXPECT_THAT(backlog(*sm_), ElementsAre("10.0.0.0/16", "10.5.0.0/16"));
  allowAll();
  turn();  // from 10.5.0.0/16 round to the first
  EXPECT_EQ(mib_->ipCidrRouteTables(), 6U);
  EXPECT_EQ(clock_->timeNext(), Mav::never);
  EXPECT_EQ(sm_->bookmark(), prefix("10.5.0.0/16"));
}

TEST_F(IpRouteTableSmTest, theBookmarkIsAPlaceNotAnElement) {
  announce({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"});
  sm_->bookmarkIs(prefix("10.1.128.0/17"));
  sm_->backlogDel(prefix("10.2.0.0/16"));
  allow(1);
  turn();
  EXPECT_THAT(rows(), ElementsAre("10.3.0.0/16 192.0.2.1 3"));
  EXPECT_EQ(sm_->bookmark(), prefix("10.1.0.0/16"));
}

TEST_F(IpRouteTableSmTest, aPrefixOfManyEventsIsLookedAtOnce) {
  turn();
  for (int i = 0; i < 5; ++i) route("10.0.0.0/8", 1);
  fec(1, {"192.0.2.2@eth1"});
  AgentLines lines(6);
  routes_->routeDel(prefix("10.0.0.0/8"));
  turn();
  EXPECT_THAT(lines.take(), ElementsAre(HasSubstr("Starting"), EndsWith("10.0.0.0/8 has no route"),
                                        HasSubstr("done")));
}

/// More vias than a fec may have: the rows of those that it may are there.
TEST_F(IpRouteTableSmTest, anErrorEndsThePassAndKeepsItsPrefix) {
  Texts vias;
  for (int i = 0; i <= 128; ++i) vias.push_back("198.51.100." + std::to_string(i) + "@eth1");
  fec(2, vias);
  announce({"10.1.0.0/16", "10.3.0.0/16"});
  route("10.2.0.0/16", 2);
  AgentLines lines(0);
  turn();
  EXPECT_THAT(
      lines.take(),
      ElementsAre(HasSubstr("ViaIndex::value < ViaIndex::min or > ViaIndex::max not allowed")));
  EXPECT_THAT(backlog(*sm_), ElementsAre("10.2.0.0/16", "10.3.0.0/16"));
  EXPECT_EQ(mib_->ipCidrRouteTables(), 129U);
  EXPECT_EQ(clock_->timeNext(), 1000.0 + Mav::Clock::retryDelay);
  vias.pop_back();
  fec(2, vias);
  turn();
  EXPECT_EQ(sm_->backlog().size(), 2U);  // not before its time
  time_.advance(Mav::Clock::retryDelay);
  turn();
  EXPECT_THAT(backlog(*sm_), IsEmpty());
  EXPECT_EQ(mib_->ipCidrRouteTables(), 130U);
}

TEST_F(IpRouteTableSmTest, tablesThatAreAwayLeaveRowsAndBacklog) {
  announce({"10.1.0.0/16", "10.2.0.0/16"});
  turn();
  routes_->routeDelUnnoticed(prefix("10.1.0.0/16"));
  routes_->announce(prefix("10.1.0.0/16"));
  routes_->isReadableIs(false);
  AgentLines lines(0);
  for (int second = 0; second < 5; ++second) {
    turn();
    time_.advance(Mav::Clock::retryDelay);
  }
  EXPECT_EQ(lines.take().size(), 1U);
  EXPECT_THAT(backlog(*sm_), ElementsAre("10.1.0.0/16"));
  EXPECT_EQ(mib_->ipCidrRouteTables(), 2U);

  routes_->isReadableIs(true);
  turn();
  EXPECT_THAT(rows(), ElementsAre("10.2.0.0/16 192.0.2.1 3"));
  EXPECT_EQ(clock_->timeNext(), Mav::never);
  routes_->isReadableIs(false);  // the next outage is told again
  sm_->handleRoute(prefix("10.1.0.0/16"));
  turn();
  EXPECT_EQ(lines.take().size(), 1U);
}

TEST_F(IpRouteTableSmTest, aRouteWaitsForTheStatusOfItsInterface) {
  fec(2, {"192.0.2.2@ppp0", "192.0.2.1@eth1"});
  route("10.0.0.0/8", 2);
  turn();
  EXPECT_THAT(rows(), ElementsAre("10.0.0.0/8 192.0.2.1 3"));
  auto const list = sm_->intfDep(id("ppp0"));
  ASSERT_TRUE(list);
  EXPECT_TRUE(list->prefix(prefix("10.0.0.0/8")));

  sm_->handleIntfStatus(id("ppp0"));  // but it has none yet: consumed, and entered again
  EXPECT_EQ(list->prefixes(), 0U);
  turn();
  EXPECT_EQ(list->prefixes(), 1U);

  link("ppp0", 9);
  turn();
  EXPECT_THAT(rows(), ElementsAre("10.0.0.0/8 192.0.2.1 3", "10.0.0.0/8 192.0.2.2 9"));
  EXPECT_EQ(sm_->intfDep(id("ppp0")), list);
  EXPECT_EQ(list->prefixes(), 0U);

  link("eth7", 7);
  EXPECT_FALSE(isPassPending());
}

TEST_F(IpRouteTableSmTest, whoeverListensHearsEachRowGoAndCome) {
  fec(1, {"192.0.2.1@eth1", "192.0.2.2@eth2"});
  route("10.0.0.0/8", 1);
  turn();
  struct Listener : IpSnmp::IpForwardMib::NotifieeConst {
    using NotifieeConst::NotifieeConst;
    using NotifieeConst::onIpCidrRouteTable;
    void onIpCidrRouteTable(IpSnmp::IpCidrRouteTableIndex const& row) override {
      heard.push_back((notifier()->ipCidrRouteTable(row) ? "+" : "-") +
                      row.nextHop().stringValue());
    }
    Texts heard;
  } listener(mib_);
  routes_->announce(prefix("10.0.0.0/8"));
  turn();
  EXPECT_THAT(listener.heard, ElementsAre("-192.0.2.1", "-192.0.2.2", "+192.0.2.1", "+192.0.2.2"));
}

}  // namespace
