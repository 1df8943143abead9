#include "kelbase/ctl/generated_table.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <random>

#include <absl/container/flat_hash_set.h>
#include <fmt/format.h>

#include "platform/dovel/ip_addr_with_mask.h"

namespace Kelbase::Ctl {
namespace {

using Dovel::IpAddr;
using Dovel::Prefix;
namespace Fib = Pondo::Fib;

constexpr unsigned lengthMin = 8;
constexpr unsigned lengthMax = 24;
constexpr unsigned linkLength = 24;
constexpr std::uint32_t linkNetworks = 0xC6120000;  // 198.18.0.0
constexpr std::size_t nextHopsALink = GeneratedTable::nextHopCount / GeneratedTable::linkCount;
constexpr std::int32_t loopbackIndex = 1;

// Of a hundred thousand prefixes, how many are /8, /9 ... /24.
constexpr std::array<std::size_t, lengthMax - lengthMin + 1> shares{
    5,     15,    30,    50,    100,   200,    300,   500,   1'300,
    1'500, 2'500, 4'000, 4'500, 5'000, 11'000, 9'000, 60'000};

// What no border router hears of (RFC 6890), and class D and E.
constexpr std::array<std::pair<std::uint32_t, unsigned>, 13> setApart{{{0x00000000, 8},
                                                                       {0x0A000000, 8},
                                                                       {0x64400000, 10},
                                                                       {0x7F000000, 8},
                                                                       {0xA9FE0000, 16},
                                                                       {0xAC100000, 12},
                                                                       {0xC0000000, 24},
                                                                       {0xC0000200, 24},
                                                                       {0xC0A80000, 16},
                                                                       {0xC6120000, 15},
                                                                       {0xC6336400, 24},
                                                                       {0xCB007100, 24},
                                                                       {0xE0000000, 3}}};

bool isPublic(std::uint32_t address, unsigned length) {
  return std::ranges::none_of(setApart, [&](auto const& block) {
    unsigned const common = std::min(length, block.second);
    return IpAddr(address).masked(common) == IpAddr(block.first).masked(common);
  });
}

/// How many prefixes of each length. No length gets more than a third of all that it could have,
/// so that drawing them ends soon: the next longer one takes the rest.
std::array<std::size_t, shares.size()> quotas(std::size_t routes) {
  std::array<std::size_t, shares.size()> result{};
  std::size_t assigned = 0;
  std::size_t share = 0;
  for (std::size_t i = 0; i < shares.size(); ++i) {
    share += shares[i];
    std::size_t const wanted = routes * share / 100'000 - assigned;
    std::size_t const most = (std::size_t{1} << (lengthMin + i)) / 3;
    result[i] = i + 1 == shares.size() ? wanted : std::min(wanted, most);
    assigned += result[i];
  }
  return result;
}

Dovel::IntfId linkName(std::size_t number) { return Dovel::IntfId(fmt::format("gen{}", number)); }

std::int32_t linkIndex(std::size_t number) {
  return loopbackIndex + 1 + static_cast<std::int32_t>(number);
}

Dovel::IpAddrWithMask linkAddress(std::size_t number) {
  return {IpAddr(linkNetworks + static_cast<std::uint32_t>(number << 8U) + 1), linkLength};
}

Fib::Via viaOf(std::size_t nextHop) {
  std::size_t const link = nextHop / nextHopsALink;
  auto const host = static_cast<std::uint32_t>(1 + nextHop % nextHopsALink);
  return {IpAddr(linkAddress(link).address().value() + host), linkName(link), linkIndex(link)};
}

Fib::FecId nextHopFec(std::size_t nextHop) { return Fib::FecId(1 + nextHop); }
Fib::FecId connectedFec(std::size_t link) {
  return Fib::FecId(1 + GeneratedTable::nextHopCount + link);
}

Fib::Route bgpRoute(std::size_t nextHop) {
  return {.fecId = nextHopFec(nextHop),
          .metric = Routing::RouteMetric(20),
          .preference = Routing::RoutePreference(20),
          .routeType = Routing::Fib::routeTypeBgp};
}

Fib::Route connectedRoute(std::size_t link) {
  return {.fecId = connectedFec(link),
          .metric = {},
          .preference = {},
          .routeType = Routing::Fib::routeTypeConnected};
}

}  // namespace

// std::mt19937_64 gives the same numbers everywhere; the distributions of <random> do not.
GeneratedTable::GeneratedTable(std::size_t routes, std::uint64_t seed) {
  assert(routes <= routesMax);
  std::mt19937_64 random(seed);
  routes_.reserve(routes + linkCount);
  auto const wanted = quotas(routes);
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    auto const length = static_cast<unsigned>(lengthMin + i);
    absl::flat_hash_set<std::uint32_t> drawn;
    drawn.reserve(wanted[i]);
    while (drawn.size() < wanted[i]) {
      std::uint64_t const number = random();
      IpAddr const address = IpAddr(static_cast<std::uint32_t>(number >> 32U)).masked(length);
      if (!isPublic(address.value(), length) || !drawn.insert(address.value()).second) continue;
      routes_.emplace_back(Prefix(address, length), bgpRoute(number % nextHopCount));
    }
  }
  for (std::size_t link = 0; link < linkCount; ++link) {
    routes_.emplace_back(linkAddress(link).prefix(), connectedRoute(link));
  }
  std::ranges::sort(routes_, {}, &FibRoutes::value_type::first);
}

FibFecs GeneratedTable::fecs() {
  FibFecs fecs;
  for (std::size_t hop = 0; hop < nextHopCount; ++hop) fecs[nextHopFec(hop)] = {{viaOf(hop)}};
  for (std::size_t link = 0; link < linkCount; ++link) {
    fecs[connectedFec(link)] = {{{IpAddr(), linkName(link), linkIndex(link)}}};
  }
  return fecs;
}

GeneratedTable::Links GeneratedTable::links() {
  Links links{{Dovel::IntfId("lo"), {.ifIndex = loopbackIndex, .adminUp = true, .operUp = true}}};
  for (std::size_t link = 0; link < linkCount; ++link) {
    links.emplace(linkName(link), Links::mapped_type{linkIndex(link), true, true});
  }
  return links;
}

GeneratedTable::Addresses GeneratedTable::addresses() {
  Addresses addresses;
  auto const add = [&](Dovel::IntfId const& link, Dovel::IpAddrWithMask const& address) {
    addresses.emplace(
        Addresses::key_type{link, address.address(), static_cast<std::uint8_t>(address.length()),
                            address.address()},
        Addresses::mapped_type{link, false});
  };
  add(Dovel::IntfId("lo"), Dovel::IpAddrWithMask("127.0.0.1/8"));
  for (std::size_t link = 0; link < linkCount; ++link) add(linkName(link), linkAddress(link));
  return addresses;
}

}  // namespace Kelbase::Ctl
