#include "agent/ip_route_table_sm.h"

#include "model/protocol_map.h"
#include "tests/agent/route_fixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace Routing::Fib;

class IpRouteTableSmTest : public RouteFixture {
 protected:
  IpRouteTableSmTest() {
    link("eth1", 3);
    link("eth2", 4);
    fec(1, {"192.0.2.1@eth1"});
  }
  Mav::Ptr<IpSnmp::IpRouteTableSm> const sm_ = newSm();
};

TEST_F(IpRouteTableSmTest, aRouteWithoutRowsTellsWhy) {
  AgentLines lines(8);
  auto const tells = [&](std::string const& end) {
    turn();
    EXPECT_THAT(lines.take(), Contains(EndsWith(end)));
    EXPECT_THAT(rows(), IsEmpty());
  };
  for (auto const& [value, name] : RouteTypeEnumerators) {
    route("10.0.0.0/8", 1);
    EXPECT_THAT(rows(), IsEmpty()) << "before the pass";
    turn();
    EXPECT_EQ(rows().size(), 1U);
    route("10.0.0.0/8", 1, static_cast<RouteType>(value));
    if (value < 4) {
      tells("Route is of type " + std::string(name) + ", not suitable for fib");
    } else {
      turn();
      EXPECT_EQ(rows().size(), 1U) << name;
    }
    routes_->routeDel(prefix("10.0.0.0/8"));
    tells(": 10.0.0.0/8 has no route");
  }
  route("10.0.0.0/8", 7);
  tells(": 10.0.0.0/8 has a route but can't find fec 7");
  route("10.0.0.0/8", 1);
  Intf::intfDetailsProviderIs(nullptr);
  tells(": eth1 has ifIndex -1, skipping");
  EXPECT_FALSE(sm_->intfDep(id("eth1")));
}

TEST_F(IpRouteTableSmTest, whatWasThereBeforeItIsSweptInitially) {
  route("10.0.0.0/8", 1);
  mib_->ipCidrRouteTableDelAll();
  AgentLines lines(8);
  auto const second = newSm();
  std::string const signature = "handleRoute: void IpSnmp::IpRouteTableSm::handleRoute()";
  EXPECT_THAT(lines.take(),
              ElementsAre(signature + " initially", signature + " initially for 10.0.0.0/8"));
  EXPECT_THAT(backlog(*second), ElementsAre("10.0.0.0/8"));
  EXPECT_TRUE(isPassPending());
}

TEST_F(IpRouteTableSmTest, ofEqualNextHopsTheFirstThatGivesARowWins) {
  fec(2, {"192.0.2.7@away", "192.0.2.7@eth2", "192.0.2.7@eth1", "192.0.2.7@eth2"});
  route("10.0.0.0/8", 2);
  AgentLines lines(8);
  turn();
  EXPECT_THAT(rows(), ElementsAre("10.0.0.0/8 192.0.2.7 4"));
  auto const duplicates =
      Contains(HasSubstr("Route already in ipCidrRouteTable: "
                         "Value('IpSnmp::IpCidrRouteTableIndex', ** {'dest': '10.0.0.0', "
                         "'mask': '255.0.0.0', 'tos': 0, 'nextHop': '192.0.2.7'})"));
  EXPECT_THAT(lines.take(), duplicates.Times(1));
}

TEST_F(IpRouteTableSmTest, aFecThatChangesBringsItsRoutesBack) {
  route("10.2.0.0/16", 1);
  route("10.1.0.0/16", 1);
  turn();
  EXPECT_EQ(fecs_->reads, 1U);
  AgentLines lines(9);
  fec(1, {"192.0.2.5@eth2"});
  EXPECT_THAT(
      lines.take(),
      ElementsAre(
          "handleFec: void IpSnmp::IpRouteTableSm::handleFec(const Pondo::Fib::FecId&) for 1",
          "handleFec: adding 10.1.0.0/16 to backlog for 1",
          "handleFec: adding 10.2.0.0/16 to backlog for 1"));
  turn();
  EXPECT_THAT(rows(), ElementsAre("10.1.0.0/16 192.0.2.5 4", "10.2.0.0/16 192.0.2.5 4"));
  fec(7, {"192.0.2.5@eth2"});  // of no route
  EXPECT_FALSE(isPassPending());
}

TEST_F(IpRouteTableSmTest, aRouteWaitsForTheStatusOfItsInterface) {
  fec(2, {"192.0.2.2@ppp0", "192.0.2.1@eth1"});
  route("10.0.0.0/8", 2);
  AgentLines lines(9);
  turn();
  EXPECT_THAT(rows(), ElementsAre("10.0.0.0/8 192.0.2.1 3"));
  EXPECT_THAT(lines.take(), Contains(EndsWith("Can't find intfStatus for ppp0, adding 10.0.0.0/8 "
                                              "to intf dep list")));
  auto const list = sm_->intfDep(id("ppp0"));
  ASSERT_TRUE(list);
  EXPECT_TRUE(list->prefix(prefix("10.0.0.0/8")));

  sm_->handleIntfStatus(id("ppp0"));  // but it has none yet: consumed, and entered again
  EXPECT_EQ(list->prefixes(), 0U);
  turn();
  EXPECT_EQ(list->prefixes(), 1U);

  lines.take();
  link("ppp0", 9);
  std::string const signature =
      "handleIntfStatus: void IpSnmp::IpRouteTableSm::handleIntfStatus(const Dovel::IntfId&)";
  EXPECT_THAT(lines.take(),
              ElementsAre(signature + " for ppp0",
                          "handleIntfStatus: adding 10.0.0.0/8 to backlog due to ppp0"));
  turn();
  EXPECT_THAT(rows(), ElementsAre("10.0.0.0/8 192.0.2.1 3", "10.0.0.0/8 192.0.2.2 9"));
  EXPECT_EQ(sm_->intfDep(id("ppp0")), list);
  EXPECT_EQ(list->prefixes(), 0U);

  link("eth7", 7);
  EXPECT_THAT(lines.take(), Contains("handleIntfStatus: no prefixes for eth7"));
  EXPECT_FALSE(isPassPending());
}

TEST_F(IpRouteTableSmTest, theProtocolMapHasElevenPairs) {
  auto const& map = IpSnmp::protocolMap();
  EXPECT_EQ(map.protocol().size(), 11U);
  EXPECT_EQ(map.protocol(static_cast<RouteType>(7)), IpSnmp::ipRouteProtocolLocal);
  EXPECT_EQ(map.protocol(static_cast<RouteType>(4)), IpSnmp::ipRouteProtocolNetmgmt);
  EXPECT_EQ(map.protocol(static_cast<RouteType>(6)), IpSnmp::ipRouteProtocolRip);
  for (int type = 11; type <= 16; ++type) {
    EXPECT_EQ(map.protocol(static_cast<RouteType>(type)), IpSnmp::ipRouteProtocolOspf);
  }
  EXPECT_EQ(map.protocol(static_cast<RouteType>(17)), IpSnmp::ipRouteProtocolBgp);
  EXPECT_EQ(map.protocol(static_cast<RouteType>(18)), IpSnmp::ipRouteProtocolBgp);
}

TEST_F(IpRouteTableSmTest, inputsCanBeReplaced) {
  route("10.0.0.0/8", 1);
  turn();
  auto const other = Mav::makeObject<Pondo::Fib::SimulatedRouteStatus>();
  other->routeIs(prefix("11.0.0.0/8"), *routes_->route(prefix("10.0.0.0/8")));
  sm_->routeStatusIs(other);
  EXPECT_FALSE(isPassPending());
  routes_->announce(prefix("10.0.0.0/8"));  // unheard
  EXPECT_FALSE(isPassPending());
  sm_->handleRoute();
  fec(1, {"192.0.2.8@eth2"});
  sm_->clockIs(nullptr);
  turn();
  EXPECT_THAT(rows(), ElementsAre("10.0.0.0/8 192.0.2.1 3"));
  sm_->clockIs(clock_);
  sm_->doSetupBacklogTimer();
  turn();
  EXPECT_THAT(rows(), ElementsAre("10.0.0.0/8 192.0.2.1 3", "11.0.0.0/8 192.0.2.8 4"));
  sm_->forwardingStatusIs(nullptr);
  sm_->handleRoute(prefix("11.0.0.0/8"));
  turn();
  EXPECT_THAT(rows(), ElementsAre("10.0.0.0/8 192.0.2.1 3"));
}

/// As a comparison with the routes walks them.
TEST_F(IpRouteTableSmTest, theNextPrefixWithRowsIsFound) {
  fec(2, {"192.0.2.9@eth2", "192.0.2.1@eth1"});
  Texts const filed{"0.0.0.0/0", "10.0.0.0/8", "10.0.0.0/24", "255.255.255.255/32"};
  for (auto const& text : filed) route(text, 2);
  turn();
  Texts const asked{"0.0.0.0/0", "0.0.0.0/1", "10.0.0.0/9", "10.0.0.0/25"};
  for (std::size_t i = 0; i < filed.size(); ++i) {
    EXPECT_EQ(mib_->ipCidrRoutePrefix(prefix(asked[i])), prefix(filed[i]));
    EXPECT_EQ(mib_->ipCidrRoutePrefix(prefix(filed[i])), prefix(filed[i]));
  }
  mib_->ipCidrRoutesDel(prefix(filed.back()));
  EXPECT_EQ(mib_->ipCidrRoutePrefix(prefix(asked.back())), std::nullopt);
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
