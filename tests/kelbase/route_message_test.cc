#include "kelbase/route_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/nexthop.h>

#include "tests/kelbase/netlink_builder.h"

namespace Kelbase {
namespace {

using Dovel::IpAddr;
using testing::ElementsAre;

class RouteMessageTest : public testing::Test {
 protected:
  RouteMessage const& read(NetlinkBuilder const& builder) {
    EXPECT_TRUE(readRoute(builder.message(), route_));
    return route_;
  }
  std::uint32_t identity(NetlinkBuilder const& builder) { return read(builder).identity; }

  RouteMessage route_;
};

NetlinkBuilder plain(char const* prefix = "10.1.0.0/16") {
  return routeMessage(RTM_NEWROUTE, prefix)
      .value(RTA_GATEWAY, IpAddr("10.0.0.2").octets())
      .value(RTA_OIF, 3);
}

TEST_F(RouteMessageTest, ReadsWhatTheKernelSays) {
  auto const& route =
      read(plain().value(RTA_PRIORITY, 20).value(RTA_PREFSRC, IpAddr("10.0.0.1").octets()));
  EXPECT_EQ(route.prefix, Dovel::Prefix("10.1.0.0/16"));
  EXPECT_EQ(route.metric, 20U);
  EXPECT_EQ(route.type, RTN_UNICAST);
  EXPECT_EQ(route.protocol, RTPROT_BOOT);
  EXPECT_EQ(route.preferredSource, IpAddr("10.0.0.1"));
  EXPECT_THAT(route.hops, ElementsAre(Hop{IpAddr("10.0.0.2"), 3}));
  EXPECT_EQ(route.object, 0U);

  auto const& bare = read(routeMessage(RTM_NEWROUTE, "0.0.0.0/0").value(RTA_OIF, 4));
  EXPECT_EQ(bare.prefix, Dovel::Prefix());
  EXPECT_EQ(bare.metric, 0U);
  EXPECT_FALSE(bare.preferredSource);
  EXPECT_THAT(bare.hops, ElementsAre(Hop{IpAddr(), 4}));
}

TEST_F(RouteMessageTest, ReadsSeveralNextHops) {
  std::vector<std::byte> paths;
  addPath(paths, 3, {RTA_GATEWAY, {10, 0, 0, 2}});
  addPath(paths, 4, {RTA_VIA, {AF_INET6, 0, 0xfe, 0x80}});
  addPath(paths, 5, {});
  auto const& route = read(
      routeMessage(RTM_NEWROUTE, "10.1.0.0/16").raw(RTA_MULTIPATH, paths.data(), paths.size()));
  EXPECT_THAT(route.hops,
              ElementsAre(Hop{IpAddr("10.0.0.2"), 3}, Hop{IpAddr(), 4}, Hop{IpAddr(), 5}));
}

TEST_F(RouteMessageTest, OtherTablesAndCopiesAreNone) {
  EXPECT_FALSE(
      readRoute(plain().value(RTA_TABLE, std::uint32_t{RT_TABLE_LOCAL}).message(), route_));
  EXPECT_FALSE(readRoute(plain().value(RTA_TABLE, 1000).message(), route_));
  EXPECT_TRUE(readRoute(plain().value(RTA_TABLE, std::uint32_t{RT_TABLE_MAIN}).message(), route_));
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
}

TEST_F(RouteMessageTest, ANexthopObjectsContentIsNotTheRoutes) {
  auto const route = [](std::uint32_t object, int type) {
    return routeMessage(RTM_NEWROUTE, "10.1.0.0/16", type).value(RTA_NH_ID, object);
  };
  auto const base = identity(route(7, RTN_UNICAST).value(RTA_OIF, 3));
  EXPECT_EQ(route_.object, 7U);
  EXPECT_TRUE(route_.hops.empty());
  EXPECT_EQ(identity(route(7, RTN_BLACKHOLE).value(RTA_OIF, 1)), base);
  EXPECT_EQ(route_.type, RTN_UNICAST);
  EXPECT_NE(identity(route(8, RTN_UNICAST)), base);
}

TEST_F(RouteMessageTest, WhatIsNotAsDeclaredIsRejected) {
  struct Row {
    NetlinkBuilder builder;
    char const* error;
  };
  std::vector<std::byte> path;
  addPath(path, -3, {});
  for (auto& [builder, error] : {
           Row{routeMessage(RTM_NEWROUTE, "10.1.0.0/16").value(RTA_OIF, std::int64_t{3}),
               "RTM_NEWROUTE: RTA_OIF: 8 bytes, expected 4"},
           Row{routeMessage(RTM_DELROUTE, "10.1.0.0/16").value(RTA_GATEWAY, 'x'),
               "RTM_DELROUTE: RTA_GATEWAY: 1 bytes, expected 4"},
           Row{plain().value(RTA_DST, IpAddr("10.1.0.1").octets()),
               "RTM_NEWROUTE: RTA_DST: 10.1.0.1/16 has host bits set"},
           Row{routeMessage(RTM_NEWROUTE, "10.1.0.0/16").value(RTA_OIF, -1),
               "RTM_NEWROUTE: interface index -1, expected 0 or more"},
           Row{routeMessage(RTM_NEWROUTE, "10.1.0.0/16").raw(RTA_MULTIPATH, path.data(), 8),
               "RTM_NEWROUTE: interface index -3, expected 0 or more"},
           Row{routeMessage(RTM_NEWROUTE, "10.1.0.0/16").value(RTA_MULTIPATH, std::int64_t{99}),
               "RTM_NEWROUTE: RTA_MULTIPATH: 8 bytes at its end are no next hop"},
           Row{routeMessage(RTM_NEWROUTE, "10.1.0.0/16").cutTo(4),
               "RTM_NEWROUTE: header of 4 bytes, expected at least 12"},
       }) {
    auto const& rejected = builder;
    EXPECT_THAT([&] { readRoute(rejected.message(), route_); },
                testing::ThrowsMessage<BadMessage>(error));
  }
  rtmsg header{};
  header.rtm_family = AF_INET;
  header.rtm_table = RT_TABLE_MAIN;
  header.rtm_dst_len = 33;
  EXPECT_THAT(
      [&] { readRoute(NetlinkBuilder(RTM_NEWROUTE, header).message(), route_); },
      testing::ThrowsMessage<BadMessage>("RTM_NEWROUTE: prefix length 33, expected 0 to 32"));
}

TEST(NexthopMessageTest, SinglesGroupsAndBlackholes) {
  auto const single = readNexthop(nexthopMessage(RTM_NEWNEXTHOP, 7)
                                      .value(NHA_OIF, 3)
                                      .value(NHA_GATEWAY, IpAddr("10.0.0.2").octets())
                                      .message());
  EXPECT_EQ(single.id, 7U);
  EXPECT_EQ(single.hop, (Hop{IpAddr("10.0.0.2"), 3}));
  auto const six = readNexthop(nexthopMessage(RTM_NEWNEXTHOP, 8, AF_INET6)
                                   .value(NHA_OIF, 3)
                                   .value(NHA_GATEWAY, std::array<std::uint8_t, 16>{0xfe, 0x80})
                                   .message());
  EXPECT_EQ(six.hop, (Hop{IpAddr(), 3}));
  std::array const members{nexthop_grp{7, 0, 0, 0}, nexthop_grp{8, 0, 0, 0}};
  auto const group =
      readNexthop(nexthopMessage(RTM_NEWNEXTHOP, 9).value(NHA_GROUP, members).message());
  EXPECT_THAT(group.members, ElementsAre(7, 8));
  EXPECT_TRUE(readNexthop(nexthopMessage(RTM_NEWNEXTHOP, 10).raw(NHA_BLACKHOLE, "", 0).message())
                  .isBlackhole);
}

TEST(NexthopMessageTest, WhatIsNotAsDeclaredIsRejected) {
  EXPECT_THROW(readNexthop(nexthopMessage(RTM_NEWNEXTHOP, 0).message()), BadMessage);
  EXPECT_THROW(readNexthop(NetlinkBuilder(RTM_DELNEXTHOP, nhmsg{}).message()), BadMessage);
  std::array<char, 12> const odd{};
  EXPECT_THAT(
      [&] { readNexthop(nexthopMessage(RTM_NEWNEXTHOP, 7).value(NHA_GROUP, odd).message()); },
      testing::ThrowsMessage<BadMessage>(
          "RTM_NEWNEXTHOP: NHA_GROUP: 12 bytes, expected a multiple of 8"));
}

}  // namespace
}  // namespace Kelbase
