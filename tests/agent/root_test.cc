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
                                          "arpTableSm", "ipForwardMib", "ipRouteTableSm"));
  root_->attributeIs("ip6Config", Mav::Ptr<Ip6::Config const>(config6_));
  EXPECT_EQ(root_->ip6Config(), config6_);
  EXPECT_THROW(root_->attributeIs("ip6Config", ipMib_), Mav::RangeException);
}

TEST_F(RootTest, aStateMachineIsCreatedOnceAndGoesWithItsAttribute) {
  auto const sm = create(config_);
  EXPECT_EQ(create(config_), sm);
  EXPECT_THAT([&] { create(Mav::makeObject<Ip::Config>()); },
              testing::ThrowsMessage<Mav::NameInUseException>(
                  testing::HasSubstr("constructor parameter attribute _config has")));
  EXPECT_EQ(root_->ipAddressTableSm(), sm);
  root_->ipAddressTableSmDel();
  EXPECT_EQ(sm->use_count(), 1U);

  auto const mib = IpSnmp::ipForwardMibFactory("ipforwardmib");
  auto const routes = Mav::makeObject<Pondo::Fib::SimulatedRouteStatus>();
  auto const fecs = Mav::makeObject<Pondo::Fib::SimulatedForwardingStatus>();
  auto const createRoutes = [&](Mav::Ptr<Mav::Clock const> const& clock) {
    return root_->ipRouteTableSmIs(activityConfig_, mib, dir_, routes, fecs, clock);
  };
  auto const clock = activity_.clock();
  auto const routeSm = createRoutes(clock);
  EXPECT_EQ(createRoutes(clock), routeSm);
  EXPECT_THROW(createRoutes(Mav::makeObject<Mav::Clock>()), Mav::NameInUseException);
  EXPECT_EQ(root_->ipRouteTableSm(), routeSm);
  root_->ipRouteTableSmDel();
  EXPECT_EQ(routeSm->use_count(), 1U);
}

}  // namespace
