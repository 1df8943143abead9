#pragma once
// Pairs of numbers, found by their first: which objects lead through a link, which groups have a
// member. In order; eight octets a pair and the tree's slack.
//
// A tree of pairs and no lists by first: a link may have 100,000 objects, and one that goes is
// taken out by a descent. NextHopSets and Nexthops ask it what a message about one link or object
// bears on. One thread.

#include <cstdint>
#include <limits>
#include <utility>

#include <absl/container/btree_set.h>
#include <boost/range/iterator_range_core.hpp>

namespace Kelbase {

class Relation {
 public:
  using Pair = std::pair<std::uint32_t, std::uint32_t>;

  /// Ends with any change of the relation.
  using Range = boost::iterator_range<absl::btree_set<Pair>::const_iterator>;

  /// A pair that is there already, or is not, changes nothing.
  void insert(std::uint32_t first, std::uint32_t second) { pairs_.insert({first, second}); }
  void erase(std::uint32_t first, std::uint32_t second) { pairs_.erase({first, second}); }

  /// The pairs of `first`.
  Range of(std::uint32_t first) const {
    return {pairs_.lower_bound({first, 0}),
            pairs_.upper_bound({first, std::numeric_limits<std::uint32_t>::max()})};
  }

 private:
  absl::btree_set<Pair> pairs_;
};

}  // namespace Kelbase
