// Names of interfaces, and octet strings as indexes have them.

#include <absl/hash/hash_testing.h>
#include <gtest/gtest.h>

#include "platform/dovel/intf_id.h"
#include "platform/dovel/snmp_string.h"
#include "tests/support/strep_checks.h"

namespace Dovel {
namespace {

TEST(IntfId, refusesWhatItCannotHold) {
  std::string const longest(IntfId::sizeMax, 'x');
  EXPECT_EQ(IntfId(longest).name(), longest);
  EXPECT_EQ(rangeError([&] { return IntfId(longest + "y"); }),
            "interface name '" + longest + "y' is longer than 31 bytes");
  EXPECT_EQ(rangeError([] { return IntfId(std::string_view("eth\0001", 5)); }),
            "interface name 'eth\\x001' holds a NUL byte");
}

TEST(IntfId, ordersByNameThenNumber) {
  IntfId const eth0("eth0");
  expectRising<IntfId>({IntfId(), IntfId("Eth0"), IntfId("eth"), eth0, eth0.further(2),
                        eth0.further(10), IntfId("eth0!"), IntfId("eth0#2"), IntfId("eth1"),
                        IntfId("eth10"), IntfId("eth2"), IntfId("\xc3\xa9")});
  EXPECT_EQ(shown(eth0.further(2)), "eth0#2");
  EXPECT_EQ(eth0.further(2).name(), "eth0");
  EXPECT_TRUE(absl::VerifyTypeImplementsAbslHashCorrectly(
      {IntfId(), eth0, eth0.further(2), IntfId("eth0#2"), IntfId("eth1")}));
}

}  // namespace
}  // namespace Dovel

namespace Snmp {
namespace {

TEST(String, ordersByLengthThenOctets) {
  using namespace std::string_view_literals;
  expectRising<String>({String(), String("\0"sv), String("z"), String("\xff"), String("\0\0"sv),
                        String("aa"), String("ab"), String("b\0"sv), String("\x7fz"),
                        String("\x80\0"sv), String(std::string(16, 'a')),
                        String(std::string(17, 'A')), String(std::string(17, 'B'))});
  EXPECT_EQ(shown(String("\n\0\xffx"sv)), "\\x0a\\x00\\xffx");
}

}  // namespace
}  // namespace Snmp
