#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/mpls.h>

#include "kelbase/netlink/forwarding_decoder.h"
#include "kelbase/netlink/link_decoder.h"
#include "kelbase/netlink/model_source.h"
#include "kelbase/publish/forwarding_view.h"
#include "kelbase/publish/link_view.h"
#include "tests/kelbase/netlink_builder.h"

namespace Kelbase {
namespace {

class LinksTest : public testing::Test {
 protected:
  void link(int index, std::string_view name) {
    source_.receive(linkMessage(RTM_NEWLINK, index).text(IFLA_IFNAME, name).message());
  }
  void gone(int index) { source_.receive(linkMessage(RTM_DELLINK, index).message()); }

  /// "eth0=2" for each name of `names` that there is.
  std::string told(std::initializer_list<char const*> names) const {
    std::string result;
    for (auto const* name : names) {
      auto const record = view_.find(Dovel::IntfId(name));
      if (record) result += std::string(name) + "=" + std::to_string(record->ifIndex) + " ";
    }
    EXPECT_EQ(links_.size(),
              static_cast<std::size_t>(std::count(result.begin(), result.end(), '=')));
    return result;
  }

  Links links_;
  LinkView view_{links_};
  ModelSource<LinkDecoder, Links> source_{links_};
};

TEST_F(LinksTest, NamesFollowTheirIndex) {
  link(1, "a");
  link(2, "b");
  link(1, "c");
  EXPECT_EQ(told({"a", "b", "c"}), "b=2 c=1 ");
  link(2, "a");  // swapped in three steps, as the kernel demands
  link(1, "b");
  EXPECT_EQ(told({"a", "b", "c"}), "a=2 b=1 ");
  gone(2);
  gone(2);
  link(2, "d");  // the index again, with another name
  link(7, "a");  // the name again, with another index
  EXPECT_EQ(told({"a", "b", "d"}), "a=7 b=1 d=2 ");
}

TEST_F(LinksTest, ANameBelongsToWhoClaimedItLast) {
  link(1, "a");
  link(2, "a");  // the rename of link 1 was lost
  EXPECT_EQ(told({"a"}), "a=2 ");
  link(1, "b");  // it comes after all: takes nothing from link 2
  EXPECT_EQ(told({"a", "b"}), "a=2 b=1 ");
  link(3, "b");
  gone(1);
  EXPECT_EQ(told({"a", "b"}), "a=2 b=3 ");
}

TEST_F(LinksTest, AWholeDumpForgetsWhatItDidNotMention) {
  link(1, "a");
  link(2, "b");
  source_.dumpBegin();
  link(2, "b");
  source_.dumpEnd(false);
  EXPECT_EQ(told({"a", "b"}), "a=1 b=2 ");
  source_.dumpBegin();
  link(3, "c");
  source_.dumpEnd(true);
  EXPECT_EQ(told({"a", "b", "c"}), "c=3 ");
}

TEST_F(LinksTest, ABadMessageChangesNothing) {
  link(2, "a");
  EXPECT_THAT([this] { link(0, "a"); }, testing::ThrowsMessage<BadMessage>(
                                            "RTM_NEWLINK: interface index 0, expected 1 or more"));
  EXPECT_THROW(link(2, "a-name-of-sixteen"), BadMessage);
  EXPECT_EQ(told({"a"}), "a=2 ");
}

class ForwardingTest : public testing::Test {
 protected:
  void flag(int family, int index, std::int32_t forwarding) {
    source_.receive(netconfMessage(RTM_NEWNETCONF, family)
                        .value(NETCONFA_IFINDEX, std::int32_t{index})
                        .value(NETCONFA_FORWARDING, forwarding)
                        .message());
  }
  void all(int family, std::int32_t forwarding) { flag(family, NETCONFA_IFINDEX_ALL, forwarding); }
  std::string told() const { return source_.summary(); }

  Forwarding forwarding_;
  ForwardingView view_{forwarding_};
  ModelSource<ForwardingDecoder, Forwarding> source_{forwarding_};
};

TEST_F(ForwardingTest, OnlyForwardingOfAllCounts) {
  EXPECT_EQ(told(), "IPv4 forwarding absent, IPv6 forwarding absent");
  all(AF_INET, 1);
  all(AF_INET6, 0);
  EXPECT_EQ(told(), "IPv4 forwarding on, IPv6 forwarding off");
  flag(AF_INET, 3, 0);
  flag(AF_INET, NETCONFA_IFINDEX_DEFAULT, 0);
  all(AF_MPLS, 1);
  source_.receive(netconfMessage(RTM_NEWNETCONF, AF_INET)
                      .value(NETCONFA_IFINDEX, std::int32_t{NETCONFA_IFINDEX_ALL})
                      .value(NETCONFA_RP_FILTER, 0)
                      .message());
  EXPECT_EQ(told(), "IPv4 forwarding on, IPv6 forwarding off");
  all(AF_INET, 0);
  all(AF_INET6, 2);
  EXPECT_EQ(told(), "IPv4 forwarding off, IPv6 forwarding on");
}

TEST_F(ForwardingTest, AnIpVersionGoesWithItsKernelModule) {
  all(AF_INET, 1);
  all(AF_INET6, 1);
  source_.receive(netconfMessage(RTM_DELNETCONF, AF_INET6)
                      .value(NETCONFA_IFINDEX, std::int32_t{NETCONFA_IFINDEX_ALL})
                      .message());
  EXPECT_EQ(told(), "IPv4 forwarding on, IPv6 forwarding absent");
  source_.dumpBegin();
  all(AF_INET6, 1);
  source_.dumpEnd(true);
  EXPECT_EQ(told(), "IPv4 forwarding absent, IPv6 forwarding on");
}

TEST_F(ForwardingTest, ABadMessageChangesNothing) {
  all(AF_INET, 1);
  auto message = netconfMessage(RTM_NEWNETCONF, AF_INET);
  message.value(NETCONFA_FORWARDING, 0);
  EXPECT_THAT([&] { source_.receive(message.message()); },
              testing::ThrowsMessage<BadMessage>("RTM_NEWNETCONF: NETCONFA_IFINDEX is missing"));
  message.value(NETCONFA_IFINDEX, std::int64_t{-1});
  EXPECT_THAT(
      [&] { source_.receive(message.message()); },
      testing::ThrowsMessage<BadMessage>("RTM_NEWNETCONF: NETCONFA_IFINDEX: 8 bytes, expected 4"));
  EXPECT_EQ(told(), "IPv4 forwarding on, IPv6 forwarding absent");
}

}  // namespace
}  // namespace Kelbase
