#include "platform/pondo/fib/fec_route_list.h"

#include <map>
#include <random>

#include <gtest/gtest.h>

namespace Pondo::Fib {
namespace {

template <class Prefix>
class FecRouteListTest : public testing::Test {};

using Families = testing::Types<Dovel::Prefix, Dovel::Ip6Prefix>;
TYPED_TEST_SUITE(FecRouteListTest, Families);

void draw(std::mt19937& random, Dovel::Prefix& prefix) {
  auto const length = static_cast<unsigned>(16 + random() % 9);
  auto const third = static_cast<std::uint8_t>(random());
  prefix = Dovel::Prefix(Dovel::IpAddr({10, 0, third, 0}).masked(length), length);
}

void draw(std::mt19937& random, Dovel::Ip6Prefix& prefix) {
  auto const length = static_cast<unsigned>(8 + random() % 9);
  Dovel::Ip6Addr::Octets octets{0xfe, static_cast<std::uint8_t>(random())};
  auto const address = Dovel::Ip6Addr(octets).masked(length);
  auto const zone = Dovel::Ip6Prefix::isZoned(address, length) ? 1 + random() % 300 : 0;
  prefix = Dovel::Ip6Prefix(address, length, static_cast<std::uint32_t>(zone));
}

// Whatever the order, in which the place of the last look helps or misleads.
TYPED_TEST(FecRouteListTest, isWhatAPlainMapWouldBe) {
  using List = BasicFecRouteList<TypeParam>;
  List list;
  std::map<TypeParam, FecId> plain;
  std::mt19937 random(1);
  TypeParam at;
  for (unsigned i = 0; i < 20'000; ++i) {
    auto const next = plain.upper_bound(at);
    if (random() % 4 != 0 && next != plain.end()) {
      at = next->first;  // a walk in order
    } else {
      draw(random, at);
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
  std::map<FecId, typename List::Prefixes> byFec;
  for (auto const& [key, fecId] : plain) byFec[fecId].insert(key);
  for (auto const& [fecId, prefixes] : byFec) EXPECT_EQ(*list.routes(fecId), prefixes);
  for (auto const& [key, fecId] : plain) list.routeDel(key);
  EXPECT_EQ(list.routes(FecId(1)), nullptr);
}

}  // namespace
}  // namespace Pondo::Fib
