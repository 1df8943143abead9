#include <gtest/gtest.h>
#include <linux/mpls.h>

#include "kelbase/netlink/decoders.h"
#include "kelbase/netlink/model_source.h"
#include "tests/kelbase/netlink_builder.h"

namespace Kelbase {
namespace {

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
  ModelSource<ForwardingDecoder, Forwarding> source_{forwarding_};
};

TEST_F(ForwardingTest, OnlyForwardingOfAllCounts) {
  all(AF_INET, 1);
  all(AF_INET6, 0);
  flag(AF_INET, 3, 0);
  flag(AF_INET, NETCONFA_IFINDEX_DEFAULT, 0);
  all(AF_MPLS, 1);
  source_.receive(netconfMessage(RTM_NEWNETCONF, AF_INET)
                      .value(NETCONFA_IFINDEX, std::int32_t{NETCONFA_IFINDEX_ALL})
                      .value(NETCONFA_RP_FILTER, 0)
                      .message());
  EXPECT_EQ(told(), "IPv4 forwarding on, IPv6 forwarding off");
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

}  // namespace
}  // namespace Kelbase
