// Routes, nexthop objects and the tables through random histories, against a kernel of a few lines:
// what is served is what it has then, however it came there.

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include <fmt/format.h>

#include "tests/kelbase/route_source_fixture.h"

namespace Kelbase {
namespace {

using Hops = std::vector<int>;
using Lines = std::vector<std::string>;

/// A route of the kernel's: over an object, or with next hops of its own.
struct Given {
  int metric = 0;
  int type = RTN_UNICAST;
  std::uint32_t object = 0;
  Hops hops;
  bool operator==(Given const&) const = default;
};

class RouteHistoryTest : public RouteSourceFixture {
 protected:
  static constexpr int prefixes = 5;

  int any(int end) { return static_cast<int>(random_() % static_cast<unsigned>(end)); }
  static std::string prefix(int i) { return fmt::format("10.{}.0.0/16", i); }

  NetlinkBuilder builder(int type, int i, Given const& route) {
    auto result = routeMessage(type, prefix(i), route.type);
    result.value(RTA_PRIORITY, route.metric);
    if (route.object != 0) return result.value(RTA_NH_ID, route.object);
    std::vector<std::pair<int, bool>> hops;
    for (int const hop : route.hops) hops.emplace_back(hop, !dead_.contains(hop));
    auto const bytes = paths(hops);
    if (!hops.empty()) result.raw(RTA_MULTIPATH, bytes.data(), bytes.size());
    return result;
  }

  Given anyRoute() {
    constexpr std::array types{RTN_PROHIBIT, RTN_BLACKHOLE, RTN_THROW};
    Given route{.metric = 10 * any(3), .type = RTN_UNICAST, .object = 0, .hops = {}};
    if (any(5) == 0) route.type = types[static_cast<std::size_t>(any(3))];
    if (route.type != RTN_UNICAST) return route;
    if (any(3) == 0) {
      route.object = std::array{7U, 8U, 100U}[static_cast<std::size_t>(any(3))];
    } else {
      for (int hop = 2; hop < 6; ++hop) {
        if (any(3) == 0) route.hops.push_back(hop);
      }
      if (route.hops.empty()) route.hops.push_back(2);
    }
    return route;
  }

  /// As net/ipv4/fib_trie.c, fib_table_insert.
  void add() {
    int const i = any(prefixes);
    auto& list = kernel_[i];
    auto const route = anyRoute();
    auto const isRival = [&](Given const& other) { return other.metric == route.metric; };
    auto const first = std::find_if(
        list.begin(), list.end(), [&](auto const& other) { return other.metric >= route.metric; });
    auto const end = std::find_if_not(first, list.end(), isRival);
    if (std::find(first, end, route) != end) return;
    int flags = NLM_F_CREATE | NLM_F_EXCL;
    if (first != end) flags = std::array{NLM_F_REPLACE, NLM_F_APPEND, 0}[std::size_t(any(3))];
    if (flags == NLM_F_REPLACE) {
      *first = route;
    } else {
      list.insert(flags == NLM_F_APPEND ? end : first, route);
    }
    tell(builder(RTM_NEWROUTE, i, route).flags(flags));
  }

  void del() {
    int const i = any(prefixes);
    auto& list = kernel_[i];
    if (list.empty()) return;
    auto const at = list.begin() + any(static_cast<int>(list.size()));
    tell(builder(RTM_DELROUTE, i, *at));
    list.erase(at);
  }

  void objects() {
    if (any(3) == 0) {
      members_ = std::array<std::vector<std::uint32_t>, 3>{{{7}, {8}, {7, 8}}}[std::size_t(any(3))];
      return group(100, members_);
    }
    int const id = 7 + any(2);
    gateways_[id] = 2 + any(4);
    object(static_cast<std::uint32_t>(id), gateways_[id]);
  }

  /// The kernel says nothing of this: it is read again.
  void turn() {
    int const hop = 2 + any(4);
    if (dead_.erase(hop) == 0) dead_.insert(hop);
    dump(routes_);
  }

  void dump(KernelSource& routes, bool whole = true) {
    routes.dumpBegin();
    for (auto const& [i, list] : kernel_) {
      for (auto const& route : list) routes.receive(builder(RTM_NEWROUTE, i, route).message());
    }
    routes.dumpEnd(whole);
  }

  Hops hopsOf(Given const& route) {
    Hops result;
    if (route.object == 7 || route.object == 8) return {gateways_[static_cast<int>(route.object)]};
    if (route.object == 0) {
      std::copy_if(route.hops.begin(), route.hops.end(), std::back_inserter(result),
                   [this](int hop) { return !dead_.contains(hop); });
      return result;
    }
    for (auto const member : members_) result.push_back(gateways_[static_cast<int>(member)]);
    return result;
  }

  std::string line(int i, Given const& route) {
    auto const head = [&](auto type) {
      return fmt::format("{} {} {}", prefix(i), type, route.metric);
    };
    if (route.type == RTN_THROW) return "";
    if (route.type == RTN_PROHIBIT) return head("prohibit");
    if (route.type == RTN_BLACKHOLE) return head("blackhole");
    auto result = head("static");
    for (int const hop : hopsOf(route)) result += fmt::format(" 10.0.0.{}@a", hop);
    return result;
  }

  Lines expected() {
    Lines result;
    for (auto const& [i, list] : kernel_) {
      auto const chosen = std::find_if(list.begin(), list.end(), [this](Given const& route) {
        return route.type != RTN_UNICAST || !hopsOf(route).empty();
      });
      if (chosen != list.end() && !line(i, *chosen).empty()) result.push_back(line(i, *chosen));
    }
    return result;
  }

  /// Sets that a route uses, alive or not: one fec each.
  std::size_t sets() {
    std::set<std::pair<std::uint32_t, Hops>> result;
    for (auto const& [i, list] : kernel_) {
      for (auto const& route : list) {
        if (route.object != 0)
          result.insert({route.object, {}});
        else if (!hopsOf(route).empty())
          result.insert({0, hopsOf(route)});
      }
    }
    return result.size();
  }

  void step() {
    switch (any(24)) {
      case 0:
        return turn();
      case 1:
        return dump(routes_, any(2) == 0);
      case 2:
        return loseTables();
      case 3:
        return failToWrite();
      case 4:
      case 5:
        return objects();
      default:
        return any(5) < 3 ? add() : del();
    }
  }

  std::minstd_rand random_;
  std::map<int, std::vector<Given>> kernel_;  // in its order
  std::map<int, int> gateways_{{7, 2}, {8, 3}};
  std::vector<std::uint32_t> members_{7, 8};
  std::set<int> dead_;
};

TEST_F(RouteHistoryTest, WhatIsServedIsWhatTheKernelHas) {
  object(7, gateways_[7]);
  object(8, gateways_[8]);
  group(100, members_);
  for (unsigned step = 0; step < 2500; ++step) {
    this->step();
    if (any(3) == 0) continue;
    ASSERT_EQ(written(), expected()) << "step " << step;
    ASSERT_EQ(fecs().size(), sets()) << "step " << step;
  }
}

}  // namespace
}  // namespace Kelbase
