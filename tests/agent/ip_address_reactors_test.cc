#include "agent/ip_address_reactors.h"

#include "tests/agent/address_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The same on both sides: what is configured, and what is in operation.
class AddressReactors : public AddressFixture,
                        public testing::WithParamInterface<IpSnmp::AddressSource> {
 protected:
  bool configured() const { return GetParam() == IpSnmp::addressSourceConfig; }
  /// The interface as addresses() shows it on this side.
  std::string shown(std::string const& name) const {
    return configured() ? "(" + name + ")" : name;
  }

  void address(std::string_view intf, std::string_view text) {
    if (configured()) {
      config_->intfIs(id(intf))->addrWithMaskIs(v4(text));
    } else {
      status_->intfIs(id(intf))->activeAddrWithMaskIs(v4(text));
    }
  }
  void intfGoes(std::string_view intf) {
    configured() ? config_->intfDel(id(intf)) : status_->intfDel(id(intf));
  }
  void address6(std::string_view intf, std::string_view text) {
    Ip6::AddressInfo const info(v6(text));
    configured() ? config6_->intfIs(id(intf))->addrIs(info)
                 : status6_->intfIs(id(intf))->addrIs(info);
  }
  void address6Goes(std::string_view intf, std::string_view text) {
    configured() ? config6_->intfIs(id(intf))->addrDel(v6(text))
                 : status6_->intfIs(id(intf))->addrDel(v6(text));
  }
  void intf6Goes(std::string_view intf) {
    configured() ? config6_->intfDel(id(intf)) : status6_->intfDel(id(intf));
  }
};

INSTANTIATE_TEST_SUITE_P(side, AddressReactors,
                         testing::Values(IpSnmp::addressSourceConfig, IpSnmp::addressSourceStatus),
                         [](auto const& side) { return stringValue(side.param); });

TEST_P(AddressReactors, addressesComeBeforeOrAfterTheirInterface) {
  auto const sm = newSm();
  address("eth1", "0.0.0.0/0");
  address6("eth1", "2001:db8::1/64");
  AgentLines lines(8);
  auto const side = std::string(configured() ? "Config" : "Status");
  auto const name = "handleAddr: void IpSnmp::IpAddressTableSm::MavIpIntf" + side;
  address("eth1", "10.0.0.1/24");
  EXPECT_THAT(lines.take(),
              ElementsAre(name + "::handleAddr() for eth1", "handleAddr: no intfStatus"));
  EXPECT_THAT(addresses(), IsEmpty());
  link("eth1", 3);
  link("eth2", 5);
  address("eth2", "10.0.0.2/32");
  address6("eth2", "2001:db8::2/128");
  EXPECT_THAT(addresses(),
              ElementsAre("10.0.0.1 3 " + shown("eth1"), "10.0.0.2 5 " + shown("eth2"),
                          "2001:db8::1 3 " + shown("eth1"), "2001:db8::2 5 " + shown("eth2")));
  EXPECT_THAT(prefixes(), ElementsAre("3 10.0.0.0/24", "3 2001:db8::/64", "5 10.0.0.2/32",
                                      "5 2001:db8::2/128"));

  address("eth1", "0.0.0.0/0");
  lines.take();
  address6Goes("eth1", "2001:db8::1/64");
  EXPECT_EQ(lines.take().front(),
            "handleAddr: void IpSnmp::IpAddressTableSm::MavIp6Intf" + side +
                "::handleAddr(const Dovel::Ip6AddrWithMask&) for eth1, 2001:db8::1/64");
  intfGoes("eth2");
  intf6Goes("eth2");
  EXPECT_THAT(addresses(), IsEmpty());
  EXPECT_THAT(oldTable(), IsEmpty());
  EXPECT_THAT(prefixes(), IsEmpty());
}

TEST_P(AddressReactors, whatIsThereAtTheStartIsFiled) {
  link("eth1", 3);
  address("eth1", "10.0.0.1/24");
  address6("eth1", "2001:db8::1/64");
  address6("eth1", "fe80::1/64");
  auto const sm = newSm();
  EXPECT_THAT(addresses(),
              ElementsAre("10.0.0.1 3 " + shown("eth1"), "2001:db8::1 3 " + shown("eth1")));
  intfGoes("eth1");
  intf6Goes("eth1");
  EXPECT_THAT(addresses(), IsEmpty());
  // A new reactor looks twice. IPv6 does not withdraw in between, so that its row stays.
  EXPECT_THAT(prefixes(), ElementsAre("3 2001:db8::/64"));
}

TEST_P(AddressReactors, theOldIpv4AddressGoesBeforeTheNewOneComes) {
  class Changes : public IpSnmp::IpMib::NotifieeConst {
   public:
    using NotifieeConst::NotifieeConst;
    void onIpAddrTable(Dovel::IpAddr const& key) override {
      changes_.push_back((notifier()->ipAddrTable(key) ? "+" : "-") + key.stringValue());
    }
    using NotifieeConst::onIpAddrTable;
    Texts changes_;
  };
  link("eth1", 3);
  auto const sm = newSm();
  address("eth1", "10.0.0.1/24");
  Changes const changes(ipMib_);
  address("eth1", "10.0.0.2/24");
  EXPECT_THAT(changes.changes_, ElementsAre("-10.0.0.1", "+10.0.0.2"));
  EXPECT_THAT(prefixes(), ElementsAre("3 10.0.0.0/24"));
  address("eth1", "10.0.0.2/16");  // the length alone
  EXPECT_THAT(prefixes(), ElementsAre("3 10.0.0.0/16"));
}

TEST_P(AddressReactors, aLostInterfaceStatusWithdrawsNothingAndAnotherIndexMovesIpv4sPrefixAlone) {
  link("eth1", 3);
  auto const sm = newSm();
  address("eth1", "10.0.0.1/24");
  address6("eth1", "2001:db8::1/64");
  dir_->intfStatusDel(id("eth1"));
  link("eth1", 7);
  EXPECT_THAT(addresses(),
              ElementsAre("10.0.0.1 7 " + shown("eth1"), "2001:db8::1 7 " + shown("eth1")));
  EXPECT_THAT(prefixes(), ElementsAre("3 2001:db8::/64", "7 10.0.0.0/24"));

  auto const filed = addresses();
  dir_->intfStatusDel(id("eth1"));
  EXPECT_EQ(addresses(), filed);
  address("eth1", "10.0.0.2/24");
  address6Goes("eth1", "2001:db8::1/64");
  intfGoes("eth1");
  intf6Goes("eth1");
  EXPECT_EQ(addresses(), filed);
}

TEST_P(AddressReactors, withoutAProviderThereIsNoIfIndex) {
  Intf::intfDetailsProviderIs(nullptr);
  link("eth1", 3);
  auto const sm = newSm();
  address("eth1", "10.0.0.1/24");
  address6("eth1", "2001:db8::1/64");
  EXPECT_THAT(addresses(), IsEmpty());
  Intf::intfDetailsProviderIs(this);
  sm->handleIntfStatus(id("eth1"));  // the same status: nothing to do
  EXPECT_THAT(addresses(), IsEmpty());
}

TEST_P(AddressReactors, ipv6LinkLocalAddressesArePassedOver) {
  link("eth1", 3);
  auto const sm = newSm();
  AgentLines lines(1);
  address6("eth1", "fe80::1/64");
  address6("eth1", "febf::1/10");
  address6Goes("eth1", "fe80::1/64");
  std::string const ignored = "handleAddr: Ignoring link-local address ";
  EXPECT_THAT(lines.take(),
              ElementsAre(ignored + "fe80::1/64", ignored + "febf::1/10", ignored + "fe80::1/64"));
  address("eth1", "169.254.0.1/16");
  address6("eth1", "fec0::1/64");
  EXPECT_THAT(addresses(),
              ElementsAre("169.254.0.1 3 " + shown("eth1"), "fec0::1 3 " + shown("eth1")));
}

TEST_P(AddressReactors, nothingIsHeardOfAnInputTakenAwayOrAfterTheStateMachine) {
  link("eth1", 3);
  for (bool const wholly : {false, true}) {
    auto sm = newSm();
    address("eth1", "10.0.0.1/24");
    address6("eth1", "2001:db8::1/64");
    auto const config = sm->ipIntfConfig(id("eth1"));
    auto const status6 = sm->ip6IntfStatus(id("eth1"));
    if (wholly) {
      sm.reset();
      EXPECT_EQ(dir_->use_count() + ipMib_->use_count() + config_->use_count() +
                    status_->use_count() + config6_->use_count() + status6_->use_count(),
                6U);
      auto const letGo = [](auto const& reactor) {
        return reactor && !reactor->ipAddressTableSm() && !reactor->notifier();
      };
      EXPECT_TRUE(configured() ? letGo(config) : letGo(status6));
    } else {
      configured() ? (sm->configDel(), sm->config6Del()) : (sm->statusDel(), sm->status6Del());
    }
    auto const filed = addresses();
    EXPECT_EQ(filed.size(), 2U);
    address("eth1", "10.0.0.2/24");
    address6Goes("eth1", "2001:db8::1/64");
    intfGoes("eth1");
    intf6Goes("eth1");
    EXPECT_EQ(addresses(), filed);
    ipMib_->ipAddressTableDelAll();
  }
}

TEST_F(AddressFixture, aChangedCollectionIsComparedWithTheReactors) {
  link("eth1", 3);
  link("eth2", 5);
  auto const sm = newSm();
  sm->configDel();
  sm->config6Del();
  config_->intfIs(id("eth1"))->addrWithMaskIs(v4("10.0.0.1/24"));
  config_->intfIs(id("eth2"))->addrWithMaskIs(v4("10.0.1.1/24"));
  auto const eth1 = config6_->intfIs(id("eth1"));
  config6_->intfIs(id("eth2"));
  IpSnmp::ReactorSet<IpSnmp::IpAddressTableSm::MavIpIntfConfig> intfs;
  IpSnmp::ReactorSet<IpSnmp::IpAddressTableSm::MavIp6IntfConfig> intfs6;
  IpSnmp::IpAddressTableSm::MavConfig config(*sm, intfs, config_);
  IpSnmp::IpAddressTableSm::MavConfig6 config6(*sm, intfs6, config6_);
  config.handleIntf();
  config6.handleIntf();
  eth1->addrIs(Ip6::AddressInfo(v6("2001:db8::1/64")));
  EXPECT_THAT(addresses(),
              ElementsAre("10.0.0.1 3 (eth1)", "10.0.1.1 5 (eth2)", "2001:db8::1 3 (eth1)"));

  // Others took the place of eth1, and eth2 went.
  auto const later = Mav::makeObject<Ip::Config>();
  later->intfIs(id("eth1"))->addrWithMaskIs(v4("10.0.2.1/24"));
  config.notifierIs(later);
  config.handleIntf();
  config6.notifierIs(Mav::makeObject<Ip6::Config>());
  config6.handleIntf();
  EXPECT_THAT(addresses(), ElementsAre("10.0.2.1 3 (eth1)"));
  EXPECT_THAT(prefixes(), ElementsAre("3 10.0.2.0/24"));
  EXPECT_EQ(intfs6.get(id("eth2")), nullptr);
}

}  // namespace
