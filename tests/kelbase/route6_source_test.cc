// IPv6 routes as the kernel tells them, and the rows that they make.

#include <gmock/gmock.h>
#include <linux/if_addr.h>

#include "tests/kelbase/route_source_fixture.h"

namespace Kelbase {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int alone = NLM_F_CREATE | NLM_F_EXCL;
constexpr int beside = NLM_F_CREATE | NLM_F_APPEND;

class Route6SourceTest : public RouteSourceFixture {
 protected:
  Route6SourceTest() {
    routes6_.dumpWishIs([this](double) { wishes_ += "IPv6 routes "; });
    routes6_.lookWishIs([this](double) { wishes_ += "a look "; });
  }

  using Hops = std::vector<std::uint8_t>;  // N: fe80::N on link 3, "a"

  static Dovel::Ip6Addr::Octets gateway(std::uint8_t host) {
    auto octets = Dovel::Ip6Addr("fe80::").octets();
    octets[15] = host;
    return octets;
  }
  /// Of 4000::/64: one next hop, or siblings.
  static NetlinkBuilder over(int type, Hops const& hops, int protocol = RTPROT_BOOT) {
    auto builder = routeMessage6(type, "4000::", 64, RTN_UNICAST, protocol);
    if (hops.size() == 1) return builder.value(RTA_GATEWAY, gateway(hops[0])).value(RTA_OIF, 3);
    std::vector<std::byte> paths;
    for (auto const hop : hops) addPath(paths, gateway(hop));
    return builder.raw(RTA_MULTIPATH, paths.data(), paths.size());
  }
  static NetlinkBuilder onLink(std::string_view address, int length, int index) {
    return routeMessage6(RTM_NEWROUTE, address, length).value(RTA_OIF, index);
  }
  std::vector<std::string> rows() {
    written();
    auto& view = **std::prev(views_.end());
    if (!std::exchange(compared6_, true)) view.writeAll(*writer_);
    while (view.hasMore()) view.writeRest(*writer_);
    writer_->commit();
    return RouteText::routes<Pondo::Route6Table>(*writer_);
  }
  KernelSource& routes6_ = named<KernelSource>(sources_, "IPv6 routes");
  bool compared6_ = false;
};

TEST_F(Route6SourceTest, SiblingsGrowAndShrink) {
  tell(over(RTM_NEWROUTE, {2}).flags(alone));
  tell(over(RTM_NEWROUTE, {3, 2}).flags(beside));
  EXPECT_THAT(rows(), ElementsAre("4000::/64 static 5 fe80::2@a fe80::3@a"));
  tell(over(RTM_DELROUTE, {2}));
  EXPECT_THAT(rows(), ElementsAre("4000::/64 static 5 fe80::3@a"));
  tell(over(RTM_NEWROUTE, {7, 8}).flags(NLM_F_REPLACE));
  EXPECT_THAT(rows(), ElementsAre("4000::/64 static 5 fe80::7@a fe80::8@a"));
  tell(over(RTM_DELROUTE, {8, 7}));
  EXPECT_THAT(rows(), IsEmpty());
  EXPECT_EQ(wishes_, "") << "all of it is told";
  tell(over(RTM_NEWROUTE, {7, 7}).flags(alone));
  tell(over(RTM_DELROUTE, {7}));
  EXPECT_EQ(wishes_, "IPv6 routes ") << "they differ in their encapsulation";
}

TEST_F(Route6SourceTest, TheProtocolIsThatOfTheFirstSibling) {
  tell(over(RTM_NEWROUTE, {2}).flags(alone));
  tell(over(RTM_NEWROUTE, {3, 2}, RTPROT_BGP).flags(beside));
  EXPECT_THAT(rows(), ElementsAre("4000::/64 static 5 fe80::2@a fe80::3@a"));
  tell(over(RTM_DELROUTE, {3}, RTPROT_BGP));
  EXPECT_EQ(std::exchange(wishes_, ""), "a look ");
  tell(over(RTM_NEWROUTE, {3, 2}, RTPROT_BGP).flags(beside));
  tell(over(RTM_DELROUTE, {2}));
  EXPECT_EQ(wishes_, "IPv6 routes a look ") << "who is the first now, nobody has told";
}

/// A device route between two siblings: the kernel's dump leaps over it.
TEST_F(Route6SourceTest, WhatSiblingsMayHaveHiddenIsLookedFor) {
  routes6_.dumpBegin();
  tell(over(RTM_NEWROUTE, {2, 3}));
  routes6_.dumpEnd(true);
  EXPECT_EQ(std::exchange(wishes_, ""), "a look ") << "the first may have listed one as it ended";
  tell(over(RTM_DELROUTE, {2, 3}));
  EXPECT_EQ(wishes_, "a look ");
  routes6_.dumpBegin();
  tell(onLink("4000::", 64, 4));
  routes6_.dumpEnd(false);
  EXPECT_THAT(rows(), ElementsAre("4000::/64 static 5 0.0.0.0@b"));
}

/// For each that goes amid a dump the kernel may leave another out.
TEST_F(Route6SourceTest, ADumpAmidRemovalsIsTakenAgain) {
  auto const listed = [&](bool whole) {
    routes6_.dumpBegin();
    tell(over(RTM_NEWROUTE, {2}));
    routes6_.dumpEnd(whole);
    routes6_.replayIs(true);
    tell(routeMessage6(RTM_DELROUTE, "3000::", 64).value(RTA_OIF, 3));
    routes6_.replayIs(false);
    return std::exchange(wishes_, "");
  };
  EXPECT_EQ(listed(true), "a look IPv6 routes ");
  EXPECT_EQ(listed(false), "a look ");
  EXPECT_EQ(listed(true) + listed(true), "IPv6 routes IPv6 routes ");
  EXPECT_EQ(listed(true), "a look ") << "it has to end";
}

TEST_F(Route6SourceTest, WhatAnObjectIsBearsOnWhichRouteIsServed) {
  auto const through = [](std::uint32_t id) {
    return routeMessage6(RTM_NEWROUTE, "4000::", 64).value(RTA_NH_ID, id);
  };
  object(7, 2);
  object(8, 3);
  tell(through(7).flags(alone));
  tell(through(8).flags(beside));
  tell(routeMessage6(RTM_NEWROUTE, "5000::", 64, RTN_PROHIBIT).flags(alone));
  tell(routeMessage6(RTM_NEWROUTE, "5000::", 64).value(RTA_NH_ID, 7U).flags(beside));
  auto const both =
      ElementsAre("4000::/64 static 5 10.0.0.2@a 10.0.0.3@a", "5000::/64 static 5 10.0.0.2@a");
  EXPECT_THAT(rows(), both);
  blackhole(7);
  EXPECT_THAT(rows(), ElementsAre("4000::/64 static 5 10.0.0.3@a", "5000::/64 prohibit 5"));
  object(7, 2);
  EXPECT_THAT(rows(), both);
  EXPECT_EQ(wishes_, "");
}

TEST_F(Route6SourceTest, ARouteOfOneLinkHidesNoneOfAnother) {
  tell(routeMessage6(RTM_NEWROUTE, "fe80::", 10, RTN_UNREACHABLE).flags(alone));
  auto const refused = ElementsAre("fe80::/10%1 unreachable 5");
  EXPECT_THAT(rows(), refused);
  tell(routeMessage6(RTM_NEWROUTE, "fe80::", 10, RTN_MULTICAST)
           .value(RTA_OIF, 3)
           .value(RTA_PRIORITY, 1U)
           .flags(alone));
  EXPECT_THAT(rows(), refused);
}

TEST_F(Route6SourceTest, ARouteOfALinkGoesWithItsObject) {
  object(7, 2);
  tell(routeMessage6(RTM_NEWROUTE, "fe80::", 64).value(RTA_NH_ID, 7U).flags(alone));
  EXPECT_THAT(rows(), ElementsAre("fe80::/64%3 static 5 10.0.0.2@a"));
  objectGone(7);
  EXPECT_EQ(wishes_, "nexthop objects IPv6 routes ") << "of its routes the kernel says nothing";
}

TEST_F(Route6SourceTest, ALinkWithoutIp6HasNoRoutes) {
  tell(onLink("4000::", 64, 3).flags(alone));
  rtmsg local{};
  local.rtm_family = AF_INET6;
  local.rtm_dst_len = 8;
  local.rtm_table = RT_TABLE_LOCAL;
  tell(NetlinkBuilder(RTM_DELROUTE, local)
           .value(RTA_DST, Dovel::Ip6Addr("ff00::").octets())
           .value(RTA_OIF, 3));
  EXPECT_EQ(std::exchange(wishes_, ""), "nexthop objects IPv6 routes ") << "disabled";
  link(1, "lo");
  link(1, "lo", 0);
  EXPECT_EQ(std::exchange(wishes_, ""), "nexthop objects IPv6 routes ") << "those that refuse";
  tell(linkMessage(RTM_NEWLINK, 3, IFF_UP | IFF_RUNNING)
           .text(IFLA_IFNAME, "a")
           .value(IFLA_MTU, std::uint32_t{1279}));
  EXPECT_EQ(wishes_, "nexthop objects IPv6 routes ") << "too small";
}

TEST_F(Route6SourceTest, TheRouteToANetworkHasAnEndWithItsAddresses) {
  tell(onLink("4000::", 64, 3).flags(alone));
  auto const address = [this](int type, std::string_view local, int flags) {
    tell(addressMessage(type, AF_INET6, 3, 64)
             .value(IFA_ADDRESS, Dovel::Ip6Addr(local).octets())
             .value(IFA_FLAGS, flags));
    return std::exchange(wishes_, "");
  };
  EXPECT_EQ(address(RTM_NEWADDR, "4000::1", IFA_F_PERMANENT), "");
  EXPECT_EQ(address(RTM_NEWADDR, "4000::2", IFA_F_PERMANENT), "");
  EXPECT_EQ(address(RTM_NEWADDR, "4000::2", 0), "nexthop objects IPv6 routes ");
  EXPECT_EQ(address(RTM_DELADDR, "4000::1", IFA_F_PERMANENT), "nexthop objects IPv6 routes ")
      << "the other one has an end";
}

TEST_F(Route6SourceTest, NoLifetimeIsForgotten) {
  rta_cacheinfo cache{};
  cache.rta_expires = 200;
  tell(over(RTM_NEWROUTE, {2}).flags(alone));
  tell(over(RTM_NEWROUTE, {3, 2}).value(RTA_CACHEINFO, cache).flags(beside));
  EXPECT_EQ(wishes_, "") << "those of siblings are not all told";
  tell(over(RTM_DELROUTE, {2}));
  EXPECT_EQ(std::exchange(wishes_, ""), "IPv6 routes a look ");
  auto const listed = [&](int left) {
    routes6_.dumpBegin();
    cache.rta_expires = left;
    tell(over(RTM_NEWROUTE, {3}).value(RTA_CACHEINFO, cache));
    routes6_.dumpEnd(false);
    return std::exchange(wishes_, "");
  };
  EXPECT_EQ(listed(200), "a look a look ");
  EXPECT_EQ(listed(0), "a look ") << "its time may be up just now";
  EXPECT_EQ(listed(0), "");
}

TEST_F(Route6SourceTest, WhatHasExpiredIsNotServedThoughListed) {
  rta_cacheinfo cache{};
  cache.rta_expires = 200;
  tell(over(RTM_NEWROUTE, {2}).value(RTA_CACHEINFO, cache).flags(alone));
  EXPECT_THAT(rows(), ElementsAre("4000::/64 static 5 fe80::2@a"));
  EXPECT_EQ(wishes_, "a look ") << "when its time is up";
  routes6_.dumpBegin();
  cache.rta_expires = -1;
  tell(over(RTM_NEWROUTE, {2}).value(RTA_CACHEINFO, cache));
  routes6_.dumpEnd(true);
  EXPECT_THAT(rows(), IsEmpty());
  EXPECT_EQ(wishes_, "a look a look ") << "it may be prolonged yet";
}

}  // namespace
}  // namespace Kelbase
