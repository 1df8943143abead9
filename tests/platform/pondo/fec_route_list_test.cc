#include "platform/pondo/fib/fec_route_list.h"

#include <map>
#include <random>

#include <gtest/gtest.h>

namespace Pondo::Fib {
namespace {

// Whatever the order, in which the place of the last look helps or misleads.
TEST(FecRouteListTest, isWhatAPlainMapWouldBe) {
  FecRouteList list;
  std::map<Dovel::Prefix, FecId> plain;
  std::mt19937 random(1);
  Dovel::Prefix at;
  for (unsigned i = 0; i < 50'000; ++i) {
    auto const next = plain.upper_bound(at);
    if (random() % 4 != 0 && next != plain.end()) {
      at = next->first;  // a walk in order
    } else {
      auto const length = static_cast<unsigned>(16 + random() % 9);
      auto const third = static_cast<std::uint8_t>(random());
      at = Dovel::Prefix(Dovel::IpAddr({10, 0, third, 0}).masked(length), length);
    }
    switch (random() % 4) {
      case 0:
        list.routeDel(at);
        plain.erase(at);
        break;
      case 1:
        list.routeIs(at, FecId(i % 7U));
        plain[at] = FecId(i % 7U);
        break;
      default:
        auto const found = plain.find(at);
        ASSERT_EQ(list.fecId(at),
                  found == plain.end() ? std::nullopt : std::optional(found->second));
        auto const least = plain.lower_bound(at);
        ASSERT_EQ(list.filedRoute(at),
                  least == plain.end() ? std::nullopt : std::optional(least->first));
    }
    ASSERT_EQ(list.size(), plain.size());
  }
  std::map<FecId, FecRouteList::Prefixes> byFec;
  for (auto const& [key, fecId] : plain) byFec[fecId].insert(key);
  for (auto const& [fecId, prefixes] : byFec) EXPECT_EQ(*list.routes(fecId), prefixes);
  for (auto const& [key, fecId] : plain) list.routeDel(key);
  EXPECT_EQ(list.routes(FecId(1)), nullptr);
}

}  // namespace
}  // namespace Pondo::Fib
