#include <map>
#include <random>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/if_addr.h>

#include "tests/kelbase/route_source_fixture.h"

namespace Kelbase {
namespace {

using RouteSourceTest = RouteSourceFixture;
using Dovel::IpAddr;
using Lines = std::vector<std::string>;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Pair;

TEST_F(RouteSourceTest, ARouteOfAnotherTableIsKeptApart) {
  route("10.1.0.0/16", 2);
  ListedRoute<Ip4> other;
  other.table = 10;
  other.prefix = Dovel::Prefix(Dovel::IpAddr("10.1.0.0"), 16);
  other.hops = {{.nextHop = Dovel::IpAddr("10.0.0.3"), .ifIndex = 3}};
  kernel_.routes4.is(other, RouteRank::replaced);
  EXPECT_THAT(written(), ElementsAre("10.1.0.0/16 static 0 10.0.0.2@a"));
  gone("10.1.0.0/16", 2);
  EXPECT_THAT(written(), IsEmpty());
  EXPECT_EQ(kernel_.routes4.table(10).size(), 1U);
}

TEST_F(RouteSourceTest, OfEqualMetricsTos0IsTheFirst) {
  route("10.1.0.0/16", 2, 0, NLM_F_CREATE | NLM_F_EXCL, 8);
  route("10.1.0.0/16", 3, 0, NLM_F_CREATE | NLM_F_EXCL);
  EXPECT_THAT(written(), ElementsAre("10.1.0.0/16 static 0 10.0.0.3@a"));
  gone("10.1.0.0/16", 3);
  EXPECT_THAT(written(), ElementsAre("10.1.0.0/16 static 0 10.0.0.2@a"));
}

TEST_F(RouteSourceTest, OnlyABlackholeObjectTurnsTheType) {
  object(7, 7);
  overObject("10.1.0.0/16", 7, RTN_PROHIBIT);
  overObject("10.2.0.0/16", 7, RTN_MULTICAST);
  overObject("10.3.0.0/16", 7);
  EXPECT_THAT(written(), ElementsAre("10.1.0.0/16 prohibit 0", "10.3.0.0/16 static 0 10.0.0.7@a"));
  object(9, 0);
  group(90, {9});
  blackhole(9);
  overObject("10.1.0.0/16", 90, RTN_BLACKHOLE, NLM_F_REPLACE);
  EXPECT_THAT(written(), ElementsAre("10.1.0.0/16 blackhole 0", "10.3.0.0/16 static 0 10.0.0.7@a"));
  object(7, 8);
  EXPECT_EQ(wishes_, "");
  object(9, 9);
  EXPECT_EQ(wishes_, "nexthop objects IPv4 routes ") << "it may be prohibit or throw as well";
  wishes_.clear();
  blackhole(7);
  EXPECT_EQ(std::exchange(wishes_, ""), "nexthop objects IPv4 routes ")
      << "it is listed as a blackhole now";
  object(8, 7);
  overObject("10.4.0.0/16", 8, RTN_BLACKHOLE);
  object(8, 8);
  EXPECT_EQ(wishes_, "") << "it is one by itself";
  routes_.replayIs(true);
  overObject("10.5.0.0/16", 8, RTN_BLACKHOLE, NLM_F_REPLACE);
  EXPECT_EQ(wishes_, "IPv4 routes ") << "its object may have been one until the dump";
}

TEST_F(RouteSourceTest, RoutesThatLookTheSameAreReadAgain) {
  object(7, 7);
  auto const list = [this](std::vector<int> const& types) {
    routes_.dumpBegin();
    for (auto const type : types) overObject("10.1.0.0/16", 7, type);
    routes_.dumpEnd(true);
  };
  list({RTN_PROHIBIT, RTN_UNICAST});
  EXPECT_THAT(written(), ElementsAre("10.1.0.0/16 prohibit 0"));
  EXPECT_EQ(wishes_, "");
  routes_.receive(
      routeMessage(RTM_DELROUTE, "10.1.0.0/16", RTN_PROHIBIT).value(RTA_NH_ID, 7).message());
  EXPECT_THAT(written(), ElementsAre("10.1.0.0/16 static 0 10.0.0.7@a"));
  EXPECT_EQ(std::exchange(wishes_, ""), "IPv4 routes ");
  list({RTN_UNICAST});
  overObject("10.1.0.0/16", 7, RTN_PROHIBIT, NLM_F_CREATE | NLM_F_APPEND);
  EXPECT_EQ(wishes_, "IPv4 routes ");
}

/// A route added, replaced and deleted at random, and dumped anywhere in between: whatever of it is
/// replayed then, the end is the kernel's.
TEST_F(RouteSourceTest, ADumpMayBeNewerThanWhatIsReplayed) {
  constexpr int changes = 8;
  written();
  for (unsigned seed = 0; seed < 300; ++seed) {
    std::minstd_rand random(seed);
    std::array<int, changes + 1> hops{};  // after each change; 0: no route
    for (std::size_t i = 1; i <= changes; ++i) hops[i] = static_cast<int>(random() % 4);
    auto const dumped = random() % (changes + 1);
    auto const known = random() % (dumped + 1);
    routes_.dumpBegin();
    if (hops[dumped] != 0) route("10.1.0.0/16", hops[dumped]);
    routes_.dumpEnd(true);
    routes_.replayIs(true);
    for (auto i = known + 1; i <= changes; ++i) {
      if (hops[i] == hops[i - 1]) continue;
      int const flags = hops[i - 1] == 0 ? NLM_F_CREATE | NLM_F_EXCL : NLM_F_REPLACE;
      hops[i] == 0 ? gone("10.1.0.0/16", hops[i - 1]) : route("10.1.0.0/16", hops[i], 0, flags);
    }
    routes_.replayIs(false);
    auto const last = "10.1.0.0/16 static 0 10.0.0." + std::to_string(hops[changes]) + "@a";
    EXPECT_EQ(written(), hops[changes] == 0 ? Lines{} : Lines{last}) << "seed " << seed;
  }
  EXPECT_EQ(wishes_, "");
}

TEST_F(RouteSourceTest, WhatIsReplayedAmongRivalsIsDumpedAgain) {
  route("10.1.0.0/16", 2, 0, NLM_F_CREATE | NLM_F_EXCL);
  route("10.1.0.0/16", 3, 0, NLM_F_CREATE | NLM_F_APPEND);
  route("10.1.0.0/16", 2, 20, NLM_F_CREATE | NLM_F_EXCL);
  routes_.replayIs(true);
  gone("10.1.0.0/16", 2, 20);
  EXPECT_EQ(wishes_, "");
  route("10.1.0.0/16", 4, 0, NLM_F_REPLACE);
  EXPECT_EQ(wishes_, "IPv4 routes ");
}

TEST_F(RouteSourceTest, WhatAReplayHasReplacedAndDeletedIsLookedFor) {
  routes_.lookWishIs([this](double) { wishes_ += "a look "; });
  route("10.1.0.0/16", 2);
  routes_.replayIs(true);
  route("10.1.0.0/16", 4, 0, NLM_F_REPLACE);  // of another, which the dump did not find any more
  gone("10.1.0.0/16", 4);
  EXPECT_EQ(wishes_, "a look ");
}

TEST_F(RouteSourceTest, SetsMayTurnWhileTheRoutesOfOthersAreWritten) {
  constexpr int many = 30'000;
  auto const prefix = [](int i) { return fmt::format("11.{}.{}.0/24", i / 256, i % 256); };
  auto const writeOnce = [this] {
    fecRows_.writeRest(*writer_);
    routeRows_.writeRest(*writer_);
  };
  auto const types = [this] {
    std::map<std::string, int> result;
    for (auto const& row : written()) ++result[row.substr(row.find(' '))];
    return result;
  };
  object(7, 7);
  object(8, 8);
  for (int i = 0; i < many; ++i) overObject(prefix(i), i % 3 == 0 ? 8 : 7);
  written();
  blackhole(7);
  writeOnce();
  ASSERT_TRUE(routeRows_.hasMore()) << "one slice took them all";
  blackhole(8);
  routes_.receive(routeMessage(RTM_DELROUTE, prefix(many - 1)).value(RTA_NH_ID, 7).message());
  overObject("10.1.0.0/16", 7);
  writeOnce();
  object(7, 9);  // again, in the middle of its walk
  EXPECT_THAT(types(), ElementsAre(Pair(" blackhole 0", many / 3),
                                   Pair(" static 0 10.0.0.9@a", many - many / 3)));
}

TEST_F(RouteSourceTest, RoutesWaitForTheFecsOfManySets) {
  for (std::uint32_t i = 0; i < 10'000; ++i) {
    routes_.receive(routeMessage(RTM_NEWROUTE, fmt::format("11.{}.{}.0/24", i / 256, i % 256))
                        .value(RTA_GATEWAY, IpAddr(0x0a00'0000 + i).octets())
                        .value(RTA_OIF, 3)
                        .message());
  }
  written();
  link(3, "north");
  route("10.1.0.0/16", 2);
  fecRows_.writeRest(*writer_);
  routeRows_.writeRest(*writer_);
  ASSERT_TRUE(fecRows_.hasMore()) << "one slice took them all";
  EXPECT_EQ(RouteText::routes(*writer_).size(), 10'000U);
  auto const rows = written();
  EXPECT_EQ(rows.size(), 10'001U);
  EXPECT_THAT(rows, Each(EndsWith("@north")));
}

TEST_F(RouteSourceTest, AHintIsWhatALinkOrAnObjectIsUsedByNow) {
  auto const hinted = [this] { return std::exchange(wishes_, "") != ""; };
  auto const falls = [&](int index) {
    link(index, fmt::format("l{}", index), 0);
    bool const result = hinted();
    link(index, fmt::format("l{}", index));
    return result;
  };
  route("10.1.0.0/16", 2);
  link(3, "renamed");
  EXPECT_FALSE(hinted() || falls(4));
  link(3, "a", 0);
  EXPECT_EQ(wishes_, "nexthop objects IPv4 routes ");
  EXPECT_TRUE(hinted());
  link(3, "a", 0);
  EXPECT_FALSE(hinted()) << "it was down before";
  gone("10.1.0.0/16", 2);
  object(7, 7, 5);
  object(8, 8, 4);
  group(100, {7, 8});
  EXPECT_TRUE(falls(5));
  object(7, 7, 6);
  EXPECT_FALSE(falls(3) || falls(5));
  EXPECT_TRUE(falls(6));
  objectGone(7);
  EXPECT_FALSE(hinted() || falls(6));
  object(7, 7, 6);
  overObject("10.2.0.0/16", 100);
  objectGone(8);
  EXPECT_TRUE(hinted());
  group(100, {7});
  objectGone(8);
  EXPECT_FALSE(hinted());
  blackhole(7);
  EXPECT_FALSE(falls(6));
  routes_.replayIs(true);
  overObject("10.2.0.0/16", 7, RTN_UNICAST, NLM_F_REPLACE);
  EXPECT_TRUE(falls(6)) << "the object may have been another when the message was made";
  routes_.replayIs(false);
  EXPECT_FALSE(falls(6));
}

TEST_F(RouteSourceTest, AHintIsWhatMayHaveTurnedUnheard) {
  auto const hinted = [this] { return std::exchange(wishes_, "") != ""; };
  auto const told = [&] {
    tell(netconfMessage(RTM_NEWNETCONF, AF_INET)
             .value(NETCONFA_IFINDEX, 3)
             .value(NETCONFA_IGNORE_ROUTES_WITH_LINKDOWN, 0));
    return hinted();
  };
  auto const bytes = paths({{2, true}, {3, false}});
  auto const dump = [&] {
    routes_.dumpBegin();
    tell(routeMessage(RTM_NEWROUTE, "10.1.0.0/16").raw(RTA_MULTIPATH, bytes.data(), bytes.size()));
    routes_.dumpEnd(true);
  };
  dump();
  EXPECT_TRUE(told());
  EXPECT_FALSE(told());
  dump();
  EXPECT_TRUE(told()) << "another word may have been lost before the dump";
  link(3, "a");
  EXPECT_TRUE(hinted()) << "its carrier was away for a moment, when the route was made";
  link(3, "a", IFF_UP);
  EXPECT_TRUE(hinted());
  link(3, "a", IFF_UP);
  EXPECT_FALSE(hinted()) << "still without carrier";
}

/// Of routes to one address the kernel goes on at a place among them.
TEST_F(RouteSourceTest, ADumpAmidChangesWhereAPieceEndedIsTakenAgain) {
  routes_.dumpBegin();
  route("10.1.0.0/16", 2);
  routes_.pieceEnd();
  route("10.2.0.0/16", 2);
  routes_.dumpEnd(true);
  routes_.replayIs(true);
  gone("10.2.0.0/24", 2);
  routes_.replayIs(false);
  EXPECT_EQ(wishes_, "");
  routes_.dumpBegin();
  route("10.1.0.0/16", 2);
  routes_.pieceEnd();
  routes_.dumpEnd(true);
  routes_.replayIs(true);
  gone("10.1.0.0/24", 2);
  routes_.replayIs(false);
  EXPECT_EQ(wishes_, "IPv4 routes ");
}

TEST_F(RouteSourceTest, AHintIsTheLastAddressOfALinkAndThePreferredOnes) {
  auto const goes = [this](char const* local, int flags = 0, unsigned index = 3) {
    address(RTM_DELADDR, local, flags, index);
    return std::exchange(wishes_, "") != "";
  };
  auto const connected = [this](char const* prefix, char const* source, int metric = 0) {
    routes_.receive(routeMessage(RTM_NEWROUTE, prefix, RTN_UNICAST, 0, RTPROT_KERNEL)
                        .value(RTA_PRIORITY, metric)
                        .value(RTA_PREFSRC, IpAddr(source).octets())
                        .value(RTA_OIF, 3)
                        .message());
  };
  auto const dump = [&](bool whole = true) {
    addresses_.dumpBegin();
    for (auto const* local : {"10.0.0.1", "10.0.0.2", "10.0.1.1"}) address(RTM_NEWADDR, local);
    addresses_.dumpEnd(true);
    routes_.dumpBegin();
    route("10.1.0.0/16", 2);
    connected("10.0.0.0/24", "10.0.0.1");
    connected("10.0.1.0/24", "10.0.1.1");
    routes_.dumpEnd(whole);
  };
  dump();
  address(RTM_NEWADDR, "10.0.1.1");  // again
  EXPECT_FALSE(goes("10.0.2.1") || goes("10.0.0.2", IFA_F_SECONDARY) || goes("10.0.0.1"));
  EXPECT_FALSE(goes("10.0.2.1", 0, 4)) << "no route through that link";
  EXPECT_TRUE(goes("10.0.1.1")) << "the last one";
  EXPECT_TRUE(goes("10.0.9.9")) << "none is known";
  dump();
  EXPECT_TRUE(goes("10.0.1.1", IFA_F_NOPREFIXROUTE)) << "its connected route goes in silence";
  dump();
  EXPECT_TRUE(goes("10.0.1.1", 0, 4)) << "preferred on another link";
  dump();
  connected("10.0.1.0/24", "10.0.1.1", 100);
  EXPECT_TRUE(goes("10.0.1.1")) << "the second of two goes in silence";
  dump(false);
  EXPECT_TRUE(goes("10.0.1.1")) << "others may have been left out";
  dump();
  routes_.receive(message(RTM_NEWROUTE, "10.2.0.0/16", 2)
                      .value(RTA_PREFSRC, IpAddr("10.0.5.1").octets())
                      .message());
  EXPECT_TRUE(goes("10.0.5.1", 0, 4));
}

}  // namespace
}  // namespace Kelbase
