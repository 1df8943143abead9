// Where a walk begins that is given bytes, beside what a search among all that is filed finds.

#include "platform/pondo/fib/first_prefix.h"

#include <map>
#include <random>

#include <gtest/gtest.h>

#include "platform/pondo/tables/codec.h"

namespace Pondo::Fib {
namespace {

using Dovel::Ip6Prefix;

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
    keys.emplace(encodeKey<Route6Table>(prefix), prefix);
  }
  return keys;
}

TEST(FirstPrefixTest, isTheLeastWhoseKeyIsNotLess) {
  std::mt19937 random(1);
  auto const keys = someKeys(random);
  EXPECT_EQ(firstPrefix<Ip6Prefix>(""), Ip6Prefix());
  for (auto at = keys.begin(); at != keys.end(); ++at) {
    EXPECT_EQ(firstPrefix<Ip6Prefix>(at->first), at->second);
    auto bytes = at->first;
    if (auto const edit = random() % 3; edit == 0) {
      bytes += '\0';  // right behind it
    } else if (edit == 1) {
      bytes[random() % bytes.size()] = static_cast<char>(random());
    } else {
      bytes.resize(random() % bytes.size());
    }
    auto const first = firstPrefix<Ip6Prefix>(bytes);
    auto const next = keys.lower_bound(bytes);
    EXPECT_TRUE(!first || encodeKey<Route6Table>(*first) >= bytes);
    EXPECT_TRUE(next == keys.end() || (first && *first <= next->second)) << next->second;
  }
}

}  // namespace
}  // namespace Pondo::Fib
