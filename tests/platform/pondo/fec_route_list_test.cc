#include "platform/pondo/fib/fec_route_list.h"

#include <algorithm>
#include <map>
#include <random>

#include <gtest/gtest.h>

#include "platform/pondo/tables/codec.h"

namespace Pondo::Fib {
namespace {

using Dovel::Ip6Prefix;

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
        ASSERT_EQ(list.filedRoute(PackedPrefix<TypeParam>(at)),
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

/// Prefixes next to one another, and around those of links.
std::map<std::string, Ip6Prefix> someKeys(std::mt19937& random) {
  std::map<std::string, Ip6Prefix> keys;
  for (int n = 0; n < 2000; ++n) {
    Dovel::Ip6Addr::Octets octets{};
    if (random() % 8 > 0) octets = {0xfe, static_cast<std::uint8_t>(0x70 + random() % 0x60)};
    if (random() % 8 == 0) octets.fill(0xff);
    if (random() % 2 == 0) octets[15] = static_cast<std::uint8_t>(random() % 4);
    auto const length = static_cast<unsigned>(random() % 129);
    auto const address = Dovel::Ip6Addr(octets).masked(length);
    std::uint32_t zone = 0;
    if (Ip6Prefix::isZoned(address, length)) {
      zone = random() % 3 == 0 ? 0xffffffff : static_cast<std::uint32_t>(1 + random() % 3);
    }
    Ip6Prefix const prefix(address, length, zone);
    keys.emplace(Route6Table::encodeKey(prefix), prefix);
  }
  return keys;
}

TEST(PackedPrefixTest, ofAnyBytesStandsToPrefixesAsTheyStandToKeys) {
  std::mt19937 random(1);
  auto const keys = someKeys(random);
  for (auto at = keys.begin(); at != keys.end(); ++at) {
    auto bytes = at->first;
    if (auto const edit = random() % 4; edit == 0) {
      bytes += '\0';  // right behind it
    } else if (edit == 1) {
      bytes[random() % bytes.size()] = static_cast<char>(random());
    } else if (edit == 2) {
      bytes.resize(random() % bytes.size());
    }
    PackedPrefix<Ip6Prefix> const place(bytes);
    auto const behind = std::ranges::partition_point(
        keys, [&](auto const& key) { return PackedPrefix<Ip6Prefix>(key.second) < place; });
    EXPECT_EQ(behind, keys.lower_bound(bytes)) << at->second;
  }
}

}  // namespace
}  // namespace Pondo::Fib
