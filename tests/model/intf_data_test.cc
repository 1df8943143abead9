#include "model/intf_data.h"

#include <absl/hash/hash_testing.h>
#include <gtest/gtest.h>

#include "tests/support/strep_checks.h"

namespace IpSnmp {
namespace {

using Dovel::IntfId;

static_assert(!std::three_way_comparable<IntfData>);

IpAddressPrefixKey const prefix(3, Ip::ipVersion4, Snmp::String("abcd"), 8);
IntfDataKey const configured(addressSourceConfig, IntfId("eth0"));

TEST(IntfDataKey, statusSortsBeforeConfigOnAnyInterface) {
  expectRising<IntfDataKey>({{},
                             {addressSourceStatus, IntfId("eth0")},
                             {addressSourceStatus, IntfId("eth1")},
                             {addressSourceConfig, IntfId("eth0")},
                             {addressSourceConfig, IntfId("eth0#2")}});
  EXPECT_EQ(shown(configured),
            "Value('IpSnmp::IntfDataKey', ** {'source': 'addressSourceConfig', 'intfId': 'eth0'})");
  expectStrepRoundTrip(configured);
  EXPECT_TRUE(absl::VerifyTypeImplementsAbslHashCorrectly(
      {IntfDataKey(), configured, IntfDataKey(addressSourceStatus, IntfId("eth0"))}));
}

TEST(IntfData, rowsAreEqualByIdentity) {
  auto const row = Mav::makeObject<IpAddressPrefixEntry const>(prefix);
  auto const twin = Mav::makeObject<IpAddressPrefixEntry const>(prefix);
  EXPECT_EQ(IntfData(configured, row), IntfData(configured, row));
  EXPECT_NE(IntfData(configured, row), IntfData(configured, twin));
  EXPECT_NE(IntfData(configured, row), IntfData(IntfDataKey(), row));
  EXPECT_NE(IntfData(configured, row), IntfData(configured, nullptr));
  EXPECT_TRUE(!IntfData());
  EXPECT_FALSE(!IntfData(IntfDataKey(), row));
}

TEST(IntfData, aNullRowParsesAndAnObjectDoesNot) {
  IntfData const bare(configured, nullptr);
  std::string const head = "Value('IpSnmp::IntfData', ** {'key': " + valueToStrep(configured);
  EXPECT_EQ(shown(bare), head + ", 'prefixEntry': None})");
  expectStrepRoundTrip(bare);

  IntfData const full(configured, Mav::makeObject<IpAddressPrefixEntry const>(prefix));
  EXPECT_EQ(shown(full), head + ", 'prefixEntry': Ptr(" + valueToStrep(prefix) + ")})");
  EXPECT_EQ(strepError<IntfData>(valueToStrep(full)),
            "expected \"None\" at column " + std::to_string(head.size() + 17));
}

}  // namespace
}  // namespace IpSnmp
