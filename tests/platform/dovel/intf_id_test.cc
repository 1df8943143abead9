#include "platform/dovel/intf_id.h"

#include <absl/hash/hash_testing.h>
#include <gtest/gtest.h>

#include "tests/support/strep_checks.h"

namespace Dovel {
namespace {

// The kernel takes any byte but '/', white space and NUL.
TEST(IntfId, printsAndParsesAnyName) {
  EXPECT_EQ(shown(IntfId("eth0")), "eth0");
  for (std::string_view const name : {"", "eth0#2", "it's", "a\\b", "caf\xc3\xa9"}) {
    expectStrepRoundTrip(IntfId(name));
  }
}

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
