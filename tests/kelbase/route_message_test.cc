#include "kelbase/netlink/route_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kelbase/netlink_builder.h"

namespace Kelbase {
namespace {

using Dovel::IpAddr;

class RouteMessageTest : public testing::Test {
 protected:
  std::uint32_t identity(NetlinkBuilder const& builder) {
    EXPECT_TRUE(readRoute(builder.message(), route_));
    return route_.identity;
  }

  ListedRoute<Ip4> route_;
};

NetlinkBuilder plain() {
  return routeMessage(RTM_NEWROUTE, "10.1.0.0/16")
      .value(RTA_GATEWAY, IpAddr("10.0.0.2").octets())
      .value(RTA_OIF, 3);
}

TEST_F(RouteMessageTest, OtherTablesAndCopiesAreNone) {
  EXPECT_FALSE(
      readRoute(plain().value(RTA_TABLE, std::uint32_t{RT_TABLE_LOCAL}).message(), route_));
  EXPECT_FALSE(readRoute(plain().value(RTA_TABLE, 1000).message(), route_));
  rtmsg header{};
  header.rtm_family = AF_INET6;
  EXPECT_FALSE(readRoute(NetlinkBuilder(RTM_NEWROUTE, header).message(), route_));
  header.rtm_family = AF_INET;
  header.rtm_table = RT_TABLE_MAIN;
  header.rtm_flags = RTM_F_CLONED;
  EXPECT_FALSE(readRoute(NetlinkBuilder(RTM_NEWROUTE, header).message(), route_));
}

TEST_F(RouteMessageTest, IdentityTellsApartWhatTheKernelDoes) {
  auto const base = identity(plain());
  EXPECT_EQ(identity(plain().value(RTA_PRIORITY, 9)), base);
  EXPECT_NE(identity(plain().value(RTA_PREFSRC, IpAddr("10.0.0.1").octets())), base);
  EXPECT_NE(identity(plain().value(RTA_FLOW, 1)), base);
  EXPECT_NE(identity(plain().value(RTA_METRICS, std::array{8, 1})), base);
  EXPECT_NE(identity(routeMessage(RTM_NEWROUTE, "10.1.0.0/16")
                         .value(RTA_GATEWAY, IpAddr("10.0.0.3").octets())
                         .value(RTA_OIF, 3)),
            base);
  EXPECT_NE(identity(routeMessage(RTM_NEWROUTE, "10.1.0.0/16", RTN_BLACKHOLE)), base);
  EXPECT_NE(identity(plain().routeFlags(RTNH_F_ONLINK)), base);
  auto const path = [](unsigned char flags) {
    return routeMessage(RTM_NEWROUTE, "10.1.0.0/16")
        .value(RTA_MULTIPATH, rtnexthop{sizeof(rtnexthop), flags, 0, 3});
  };
  EXPECT_NE(identity(path(RTNH_F_ONLINK)), identity(path(0)));
  EXPECT_NE(identity(plain().value(RTA_ENCAP_TYPE, std::uint16_t{1})), base);
  EXPECT_EQ(identity(plain().routeFlags(RTNH_F_DEAD | RTNH_F_LINKDOWN | RTM_F_OFFLOAD)), base);
}

TEST_F(RouteMessageTest, ANexthopObjectsContentIsNotTheRoutes) {
  auto const route = [](std::uint32_t object, int type) {
    return routeMessage(RTM_NEWROUTE, "10.1.0.0/16", type).value(RTA_NH_ID, object);
  };
  auto const base = identity(route(7, RTN_UNICAST).value(RTA_OIF, 3));
  EXPECT_EQ(route_.object, 7U);
  EXPECT_TRUE(route_.hops.empty());
  EXPECT_EQ(identity(route(7, RTN_BLACKHOLE).value(RTA_OIF, 1)), base);
  EXPECT_EQ(route_.kind, RouteKind::blackhole);
  EXPECT_NE(identity(route(8, RTN_UNICAST)), base);
}

}  // namespace
}  // namespace Kelbase
