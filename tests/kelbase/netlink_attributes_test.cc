#include "kelbase/netlink/netlink_attributes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/if.h>

#include "tests/kelbase/netlink_builder.h"

namespace Kelbase {
namespace {

constexpr std::array rules{
    AttributeRule{IFLA_IFNAME, "IFLA_IFNAME", textOf(IFNAMSIZ), required},
    AttributeRule{IFLA_MTU, "IFLA_MTU", exactly(4)},
    AttributeRule{IFLA_ADDRESS, "IFLA_ADDRESS", atLeast(6)},
};

Attributes parse(NetlinkBuilder const& builder) {
  auto const message = builder.message();
  return Attributes(message, message.attributes<ifinfomsg>(), rules);
}

NetlinkBuilder newLink() { return linkMessage(RTM_NEWLINK, 1); }

TEST(NetlinkAttributes, ReadsWhatIsDeclaredAndSkipsTheRest) {
  auto builder = newLink();
  builder.value(IFLA_MTU, 68U).value(IFLA_TXQLEN, 'x');
  builder.text(IFLA_IFNAME | NLA_F_NESTED, "eth0");  // the flag is no part of the type
  builder.value(IFLA_MTU, 1500U);                    // the last counts
  auto const attributes = parse(builder);
  EXPECT_EQ(attributes.text(IFLA_IFNAME), "eth0");
  EXPECT_EQ(attributes.value<std::uint32_t>(IFLA_MTU), 1500U);
  EXPECT_EQ(attributes.bytes(IFLA_ADDRESS), std::nullopt);
}

struct BadRow {
  NetlinkBuilder builder;
  std::string error;
};

TEST(NetlinkAttributes, RejectsWhatBreaksItsRule) {
  std::string const name = "RTM_NEWLINK: IFLA_IFNAME";
  std::string const expectedText = " bytes, expected a text of 1 to 15 characters";
  std::vector<BadRow> const rows{
      {newLink(), name + " is missing"},
      {newLink().text(IFLA_IFNAME, ""), name + ": 1" + expectedText},
      {newLink().raw(IFLA_IFNAME, "eth0", 4), name + ": 4" + expectedText},  // no NUL
      {newLink().text(IFLA_IFNAME, "sixteen-letters-"), name + ": 17" + expectedText},
      {newLink().value(IFLA_MTU, std::uint16_t{1}), "RTM_NEWLINK: IFLA_MTU: 2 bytes, expected 4"},
      {newLink().raw(IFLA_ADDRESS, "12345", 5),
       "RTM_NEWLINK: IFLA_ADDRESS: 5 bytes, expected at least 6"},
      {newLink().text(IFLA_IFNAME, "eth0").cutTo(sizeof(ifinfomsg) + 8),
       "RTM_NEWLINK: 8 bytes at its end are no attribute"},
      {newLink().text(IFLA_IFNAME, "eth0").cutTo(sizeof(ifinfomsg) + 2),
       "RTM_NEWLINK: 2 bytes at its end are no attribute"},
  };
  for (auto const& row : rows) {
    EXPECT_THAT([&] { parse(row.builder); },
                testing::ThrowsMessage<BadMessage>(testing::StrEq(row.error)));
  }
}

TEST(NetlinkMessage, StrayBytesAreRejected) {
  auto const builder = newLink();
  std::vector<std::byte> bytes(builder.datagram().begin(), builder.datagram().end());
  bytes.resize(bytes.size() + 5);
  int seen = 0;
  EXPECT_THAT([&] { forEachMessage(bytes, [&](NetlinkMessage const&) { ++seen; }); },
              testing::ThrowsMessage<BadMessage>("datagram: 5 stray bytes at its end"));
  EXPECT_EQ(seen, 1);
}

TEST(NetlinkMessage, ErrorsCarryTheKernelsWords) {
  nlmsgerr error{};
  error.error = -EINVAL;
  error.msg.nlmsg_len = sizeof(nlmsghdr);
  NetlinkBuilder builder(NLMSG_ERROR, error);
  builder.text(NLMSGERR_ATTR_MSG, "Invalid header").flags(NLM_F_ACK_TLVS | NLM_F_CAPPED);
  EXPECT_EQ(errorOf(builder.message()), EINVAL);
  EXPECT_EQ(extendedErrorOf(builder.message()), "Invalid header");
  builder.cutTo(sizeof error + 6);
  EXPECT_EQ(extendedErrorOf(builder.message()), "");

  EXPECT_EQ(errorOf(NetlinkBuilder(NLMSG_DONE, int{-EAGAIN}).message()), EAGAIN);
  EXPECT_EQ(errorOf(NetlinkBuilder(NLMSG_DONE, int{0}).cutTo(0).message()), 0);
}

}  // namespace
}  // namespace Kelbase
