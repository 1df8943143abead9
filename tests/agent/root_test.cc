#include "agent/root.h"

#include "tests/agent/address_fixture.h"
#include "tests/support/simulated_fib.h"

namespace {

class RootTest : public AddressFixture {
 protected:
  Mav::Ptr<IpSnmp::IpAddressTableSm> create(Mav::Ptr<Ip::Config const> const& config) {
    return root_->ipAddressTableSmIs(activityConfig_, dir_, ipMib_, config, status_, config6_,
                                     status6_);
  }
  Mav::Ptr<IpSnmp::Root> root_ = IpSnmp::rootFactory("root");
};

TEST_F(RootTest, inputsAreSetByNameInAnyOrder) {
  Texts names;
  for (auto id = Mav::firstAttributeId; root_->attributeString(id) != "unknown"; ++id) {
    names.emplace_back(root_->attributeString(id));
  }
  EXPECT_THAT(names, testing::ElementsAre("ipConfig", "ipStatus", "ip6Config", "ip6Status",
                                          "intfStatusDir", "arpStatus", "ipMib", "ipAddressTableSm",
                                          "ipForwardMib", "ipRouteTableSm"));
  root_->attributeIs("ip6Config", Mav::Ptr<Ip6::Config const>(config6_));
  EXPECT_EQ(root_->ip6Config(), config6_);
  EXPECT_THROW(root_->attributeIs("ip6Config", ipMib_), Mav::RangeException);
}

TEST_F(RootTest, theStateMachineIsCreatedOnceAndGoesWithItsAttribute) {
  link("eth1", 3);
  config_->ipIntfConfigIs(id("eth1"))->addrWithMaskIs(v4("10.0.0.1/24"));
  auto const sm = create(config_);
  EXPECT_THAT(addresses(), testing::ElementsAre("10.0.0.1 3 (eth1)"));
  EXPECT_EQ(create(config_), sm);
  EXPECT_THAT([&] { create(Mav::makeObject<Ip::Config>()); },
              testing::ThrowsMessage<Mav::NameInUseException>(
                  testing::HasSubstr("constructor parameter attribute _config has")));
  EXPECT_EQ(root_->ipAddressTableSm(), sm);
  root_->ipAddressTableSmDel();
  EXPECT_EQ(sm->use_count(), 1U);
  EXPECT_EQ(root_->ipAddressTableSm(), nullptr);
}

TEST_F(RootTest, theRouteStateMachineIsCreatedOnceToo) {
  auto const mib = IpSnmp::ipForwardMibFactory("ipforwardmib");
  auto const clock = activity_.clock();
  auto const routes = Mav::makeObject<Pondo::Fib::SimulatedRouteStatus>();
  auto const fecs = Mav::makeObject<Pondo::Fib::SimulatedForwardingStatus>();
  auto const create = [&](Mav::Ptr<Mav::Clock const> const& withClock) {
    return root_->ipRouteTableSmIs(activityConfig_, mib, dir_, routes, fecs, withClock);
  };
  auto const sm = create(clock);
  EXPECT_EQ(create(clock), sm);
  EXPECT_EQ(root_->ipRouteTableSm(), sm);
  EXPECT_THROW(create(Mav::makeObject<Mav::Clock>()), Mav::NameInUseException);
  root_->ipRouteTableSmDel();
  EXPECT_EQ(sm->use_count(), 1U);
  EXPECT_EQ(root_->ipRouteTableSm(), nullptr);
}

}  // namespace
