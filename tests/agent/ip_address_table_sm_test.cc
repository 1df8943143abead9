#include "agent/ip_address_table_sm.h"

#include "tests/agent/address_fixture.h"

namespace {

using IpSnmp::addressSourceConfig;
using IpSnmp::addressSourceStatus;
using testing::ElementsAre;
using testing::IsEmpty;

class IpAddressTableSmTest : public AddressFixture {
 protected:
  Mav::Ptr<IpSnmp::IpAddressTableSm> sm_ = newSm();
};

TEST_F(IpAddressTableSmTest, aPrefixRowOfAnotherAddressIsLeft) {
  sm_->doAddAddr(id("eth1"), addressSourceStatus, 3, v4("10.0.0.1/24"));
  sm_->doAddAddr(id("eth1#2"), addressSourceStatus, 3, v4("10.0.0.2/24"));
  sm_->doDelAddr(id("eth1"), addressSourceStatus, v4("10.0.0.1/24"));
  EXPECT_THAT(prefixes(), ElementsAre("3 10.0.0.0/24"));

  // The other way round the row goes with the address that brought it last.
  sm_->doAddAddr(id("eth1"), addressSourceStatus, 3, v4("10.0.0.1/24"));
  sm_->doDelAddr(id("eth1"), addressSourceStatus, v4("10.0.0.1/24"));
  EXPECT_THAT(prefixes(), IsEmpty());
  EXPECT_THAT(addresses(), ElementsAre("10.0.0.2 3 eth1#2"));
}

TEST_F(IpAddressTableSmTest, anotherLengthIsToldAndTakenButLeavesTheMastersRow) {
  AgentLines lines(1);
  sm_->doAddAddr(id("eth1"), addressSourceStatus, 3, v4("10.0.0.1/24"));
  sm_->doAddAddr(id("eth2"), addressSourceStatus, 5, v4("10.0.0.1/24"));
  EXPECT_THAT(lines.take(), IsEmpty());

  sm_->doAddAddr(id("eth2"), addressSourceStatus, 5, v4("10.0.0.1/16"));
  sm_->doAddAddr(id("eth1"), addressSourceStatus, 3, v4("10.0.0.1/8"));
  std::string const rest = " already has address 10.0.0.1 with prefix length 24; ignoring it";
  EXPECT_THAT(lines.take(),
              ElementsAre("addToIpAddressTable: eth2" + rest, "addToIpAddressTable: eth1" + rest));
  EXPECT_THAT(prefixes(), ElementsAre("3 10.0.0.0/24"));
  EXPECT_THAT(oldTable(), ElementsAre("10.0.0.1 3 255.0.0.0"));

  sm_->doDelAddr(id("eth1"), addressSourceStatus, v4("10.0.0.1/8"));
  EXPECT_THAT(prefixes(), ElementsAre("3 10.0.0.0/24", "5 10.0.0.0/16"));
}

TEST_F(IpAddressTableSmTest, ipv6AddedAgainLeavesItsPrefixRowBehind) {
  sm_->doAddAddr6(id("eth1"), addressSourceStatus, 3, v6("2001:db8::1/64"));
  sm_->doAddAddr6(id("eth1"), addressSourceStatus, 3, v6("2001:db8::1/64"));
  sm_->doDelAddr6(id("eth1"), addressSourceStatus, v6("2001:db8::1/64"));
  EXPECT_THAT(addresses(), IsEmpty());
  EXPECT_THAT(prefixes(), ElementsAre("3 2001:db8::/64"));

  sm_->doAddAddr6(id("eth2"), addressSourceStatus, 5, v6("2001:db8:1::1/64"));
  sm_->doAddAddr6(id("eth2"), addressSourceStatus, 6, v6("2001:db8:1::1/64"));
  EXPECT_THAT(addresses(), ElementsAre("2001:db8:1::1 6 eth2"));
  sm_->doDelAddr6(id("eth2"), addressSourceStatus, v6("2001:db8:1::1/64"));
  EXPECT_THAT(prefixes(), ElementsAre("3 2001:db8::/64", "5 2001:db8:1::/64"));
}

TEST_F(IpAddressTableSmTest, whatCannotBeServedIsIgnored) {
  AgentLines lines(1);
  sm_->doAddAddr(id("eth1"), addressSourceStatus, 3, v4("0.0.0.0/8"));
  sm_->doAddAddr6(id("eth1"), addressSourceStatus, 3, v6("::/64"));
  for (int ifIndex : {0, -1}) {
    sm_->doAddAddr(id("eth1"), addressSourceStatus, ifIndex, v4("10.0.0.1/24"));
    sm_->doAddAddr6(id("eth1"), addressSourceStatus, ifIndex, v6("2001:db8::1/64"));
  }
  EXPECT_THAT(addresses(), IsEmpty());
  EXPECT_THAT(oldTable(), IsEmpty());
  EXPECT_THAT(prefixes(), IsEmpty());

  // An ifIndex that gets unknown does not touch what is filed.
  sm_->doAddAddr(id("eth1"), addressSourceStatus, 0x7fffffff, v4("10.0.0.1/24"));
  sm_->doAddAddr(id("eth1"), addressSourceStatus, -1, v4("10.0.0.1/16"));
  EXPECT_THAT(prefixes(), ElementsAre("2147483647 10.0.0.0/24"));
  EXPECT_THAT(lines.take(), IsEmpty());
}

TEST_F(IpAddressTableSmTest, deletingLooksAtAddressSourceAndInterfaceAlone) {
  sm_->doAddAddr(id("eth1"), addressSourceStatus, 3, v4("10.0.0.1/24"));
  sm_->doDelAddr(id("eth1"), addressSourceStatus, v4("10.0.0.2/24"));
  sm_->doDelAddr(id("eth2"), addressSourceStatus, v4("10.0.0.1/24"));
  sm_->doDelAddr(id("eth1"), addressSourceConfig, v4("10.0.0.1/24"));
  EXPECT_THAT(addresses(), ElementsAre("10.0.0.1 3 eth1"));

  // A key that is not there still puts the master's row back.
  ipMib_->ipAddressPrefixTableDelAll();
  sm_->doDelAddr(id("eth2"), addressSourceStatus, v4("10.0.0.1/24"));
  EXPECT_THAT(prefixes(), ElementsAre("3 10.0.0.0/24"));

  sm_->doDelAddr(id("eth1"), addressSourceStatus, v4("10.0.0.1/8"));
  EXPECT_THAT(addresses(), IsEmpty());
  EXPECT_THAT(oldTable(), IsEmpty());
  EXPECT_THAT(prefixes(), IsEmpty());
}

}  // namespace
