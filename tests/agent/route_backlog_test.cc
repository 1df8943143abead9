// The passes: their quantum, where they go on, and what they leave when something is thrown.

#include "tests/agent/route_fixture.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

class RouteBacklogTest : public RouteFixture {
 protected:
  RouteBacklogTest() {
    link("eth1", 3);
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

TEST_F(RouteBacklogTest, anEmptyOneIsDoneAtOnce) {
  EXPECT_EQ(sm_->backlogQuantum(), 0.01);
  EXPECT_EQ(sm_->bookmark(), Dovel::Prefix());
  AgentLines lines(8);
  EXPECT_TRUE(isPassPending());
  turn();
  EXPECT_THAT(lines.take(),
              ElementsAre(EndsWith("void IpSnmp::IpRouteTableSm::doProcessIpRouteBacklog()"),
                          "doProcessIpRouteBacklog: Starting backlog processing",
                          "doProcessIpRouteBacklog: Backlog processing done"));
  EXPECT_EQ(clock_->timeNext(), Mav::never);
}

TEST_F(RouteBacklogTest, aPassThatIsOverTimeYieldsAndGoesOnAtItsBookmark) {
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

TEST_F(RouteBacklogTest, theBookmarkIsAPlaceNotAnElement) {
  announce({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"});
  sm_->bookmarkIs(prefix("10.1.128.0/17"));
  sm_->backlogDel(prefix("10.2.0.0/16"));
  allow(1);
  turn();
  EXPECT_THAT(rows(), ElementsAre("10.3.0.0/16 192.0.2.1 3"));
  EXPECT_EQ(sm_->bookmark(), prefix("10.1.0.0/16"));
}

TEST_F(RouteBacklogTest, withoutTimeNothingIsDone) {
  announce({"10.1.0.0/16", "10.2.0.0/16"});
  sm_->bookmarkIs(prefix("10.2.0.0/16"));
  allow(0);
  for (int i = 0; i < 3; ++i) turn();
  EXPECT_EQ(sm_->backlog().size(), 2U);
  EXPECT_EQ(sm_->bookmark(), prefix("10.2.0.0/16"));
  EXPECT_TRUE(isPassPending());
}

TEST_F(RouteBacklogTest, aPrefixOfManyEventsIsLookedAtOnce) {
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
TEST_F(RouteBacklogTest, anErrorEndsThePassAndKeepsItsPrefix) {
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

TEST_F(RouteBacklogTest, tablesThatAreAwayLeaveRowsAndBacklog) {
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

}  // namespace
