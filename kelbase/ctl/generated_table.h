#pragma once
// A made-up table of the internet's size and shape, the same for the same seed: routes as a border
// router has them, the sets of next hops that they share, and the links and addresses through which
// these are reached. About 60 % of the prefixes are /24, 11 % /22, 9 % /23, 5 % /21, 4.5 % /20, the
// rest thins out to /8. Outside of what RFC 6890 sets apart, so that it goes beside a host's own
// networks; the links' networks are 198.18.0.0/24 and on, of the block for benchmarks (RFC 2544).

#include <cstddef>
#include <cstdint>
#include <map>

#include "kelbase/ctl/fib_writer.h"

namespace Kelbase::Ctl {

class GeneratedTable {
 public:
  static constexpr std::size_t routesMax = 4'000'000;
  static constexpr std::size_t linkCount = 4;
  static constexpr std::size_t nextHopCount = 36;

  using Links = std::map<Dovel::IntfId, Pondo::LinkTable::Record>;
  using Addresses = std::map<Pondo::Address4Table::Key, Pondo::Address4Table::Record>;

  /// `routes` at most routesMax; the links' own come on top.
  GeneratedTable(std::size_t routes, std::uint64_t seed);

  /// In the order of prefixes, each once.
  FibRoutes const& routes() const { return routes_; }
  /// One for each next hop, then one for each link's own network.
  static FibFecs fecs();
  /// The loopback too.
  static Links links();
  static Addresses addresses();

 private:
  FibRoutes routes_;
};

}  // namespace Kelbase::Ctl
