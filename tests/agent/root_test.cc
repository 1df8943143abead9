#include "agent/root.h"

#include <random>

#include "tests/agent/address_fixture.h"
#include "tests/support/simulated_fib.h"

namespace {

class RootTest : public AddressFixture {
 protected:
  Mav::Ptr<IpSnmp::IpAddressTableSm> create(Mav::Ptr<Ip::Config const> const& config) {
    return root_->ipAddressTableSmIs(activityConfig_, dir_, ipMib_, config, status_, config6_,
                                     status6_);
  }
  Mav::Ptr<IpSnmp::IpRouteTableSm> createRoutes(Mav::Ptr<Mav::Clock const> const& clock) {
    return root_->ipRouteTableSmIs(activityConfig_, ipForwardMib_, dir_, routes_, fecs_, clock);
  }
  Mav::Ptr<IpSnmp::ArpTableSm> createArp(Mav::Ptr<Arp::NeighborDir const> const& neighbours) {
    return root_->arpTableSmIs(activityConfig_, dir_, ipMib_, neighbours);
  }
  void createAll() {
    create(config_);
    createArp(neighbours_);
    createRoutes(activity_.clock());
  }
  void turnUntilFiled() {
    do activity_.deliver();
    while (root_->ipRouteTableSm() && !root_->ipRouteTableSm()->backlog().empty());
  }
  /// As whoever takes a state machine away does: nobody keeps its rows from now on.
  void addressesGo() {
    root_->ipAddressTableSmDel();
    ipMib_->ipAddressTableDelAll();
    ipMib_->ipAddrTableDelAll();
    ipMib_->ipAddressPrefixTableDelAll();
  }
  void neighboursGo() {
    root_->arpTableSmDel();
    ipMib_->arpTableDelAll();
  }
  void routesGo() {
    root_->ipRouteTableSmDel();
    ipForwardMib_->ipCidrRouteTableDelAll();
  }
  void change(std::mt19937& random);
  Texts served() const {
    Texts texts = addresses();
    for (auto const& text : prefixes()) texts.push_back(text);
    for (auto row = ipMib_->arpTableIterator(); row; ++row)
      texts.push_back(valueToStrep(row.key()));
    for (auto row = ipForwardMib_->ipCidrRouteTableIterator(); row; ++row) {
      texts.push_back(valueToStrep(row.key()) + std::to_string(row->ifIndex()));
    }
    return texts;
  }

  Mav::Ptr<Arp::NeighborDir> neighbours_ = Mav::makeObject<Arp::NeighborDir>();
  Mav::Ptr<Pondo::Fib::SimulatedRouteStatus> routes_ =
      Mav::makeObject<Pondo::Fib::SimulatedRouteStatus>();
  Mav::Ptr<Pondo::Fib::SimulatedForwardingStatus> fecs_ =
      Mav::makeObject<Pondo::Fib::SimulatedForwardingStatus>();
  Mav::Ptr<IpSnmp::IpForwardMib> ipForwardMib_ = IpSnmp::ipForwardMibFactory("ipforwardmib");
  Mav::Ptr<IpSnmp::Root> root_ = IpSnmp::rootFactory("root");
};

void RootTest::change(std::mt19937& random) {
  auto const link = static_cast<std::int32_t>(1 + random() % 4);
  std::string const intf = "eth" + std::to_string(link);
  auto const number = std::to_string(random() % 8);
  switch (random() % 7) {
    case 0:
      dir_->intfStatusIs(id(intf), link, true);
      return;
    case 1:
      return config_->intfIs(id(intf))->addressIs(v4("10.0.0." + number + "/32"));
    case 2:
      return status_->intfIs(id(intf))->addressIs(v4("10.0.0." + number + "/32"));
    case 3:
      neighbours_->arpIntfStatusIs(intf)->arpEntryIs(
          {Dovel::IpAddr("10.0.1." + number), Dovel::EthAddr("02:00:00:00:00:01"), false});
      return;
    case 4:
      return status6_->intfIs(id(intf))->addrIs(
          Ip6::AddressInfo(v6("2001:db8::" + number + "/128")));
    case 5:
      return fecs_->fecIs(Pondo::Fib::FecId(1 + random() % 3),
                          {{{Dovel::IpAddr("192.0.2." + number), id(intf), 2}}});
    default:
      return routes_->routeIs(Dovel::Prefix("10." + number + ".0.0/16"),
                              {Pondo::Fib::FecId(1 + random() % 3), Routing::RouteMetric(20),
                               Routing::RoutePreference(1), Routing::Fib::routeTypeStatic});
  }
}

TEST_F(RootTest, aStateMachineIsCreatedOnceAndGoesWithItsAttribute) {
  auto const sm = create(config_);
  EXPECT_EQ(create(config_), sm);
  EXPECT_THAT([&] { create(Mav::makeObject<Ip::Config>()); },
              testing::ThrowsMessage<Mav::NameInUseException>(
                  testing::HasSubstr("constructor parameter attribute _config has")));
  root_->ipAddressTableSmDel();
  EXPECT_EQ(sm->use_count(), 1U);

  auto const clock = activity_.clock();
  auto const routeSm = createRoutes(clock);
  EXPECT_EQ(createRoutes(clock), routeSm);
  EXPECT_THROW(createRoutes(Mav::makeObject<Mav::Clock>()), Mav::NameInUseException);
  root_->ipRouteTableSmDel();
  EXPECT_EQ(routeSm->use_count(), 1U);
}

TEST_F(RootTest, stateMachinesComeAndGoUnderTraffic) {
  std::mt19937 random(5);
  for (int round = 0; round < 2'000; ++round) {
    change(random);
    if (random() % 8 == 0) addressesGo();
    if (random() % 8 == 0) neighboursGo();
    if (random() % 8 == 0) routesGo();
    if (random() % 4 == 0) createAll();
    if (random() % 4 == 0) activity_.deliver();
  }
  createAll();
  turnUntilFiled();
  auto const lived = served();
  EXPECT_GT(lived.size(), 8U);
  addressesGo();
  neighboursGo();
  routesGo();
  createAll();
  turnUntilFiled();
  EXPECT_EQ(served(), lived);

  root_.reset();
  for (int n = 0; n < 100; ++n) change(random);
  activity_.deliver();
  EXPECT_EQ(dir_->use_count() + config_->use_count() + status_->use_count() +
                config6_->use_count() + status6_->use_count() + neighbours_->use_count() +
                routes_->use_count() + fecs_->use_count() + ipMib_->use_count() +
                ipForwardMib_->use_count(),
            10U);
}

}  // namespace
