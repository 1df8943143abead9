#pragma once
// The prefixes of the routes that use each fec, of IPv4 (FecRouteList) or IPv6 (FecRoute6List).
// FecRouteListSm fills it; the route state machine reads it when a fec changes, to learn which
// prefixes it has to look at again.
//
// It holds a million IPv4 routes in 18 bytes each when it is filled in order: a prefix and the slot
// of its fec take eight, the prefix in the set of that fec as many again. An IPv6 route takes 53.
// An operation on the prefix that follows the last one costs no descent. All on the agent's thread.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <absl/container/btree_map.h>
#include <absl/container/btree_set.h>

#include "platform/mav/object.h"
#include "platform/pondo/fib/packed_prefix.h"
#include "platform/pondo/tables/fib_values.h"

namespace Pondo::Fib {

template <class Prefix>
class BasicFecRouteList : public Mav::Object {
 public:
  using Prefixes = absl::btree_set<Prefix>;

  /// Gives the prefixes in their order; null when no route uses the fec. Valid until the next
  /// change.
  Prefixes const* routes(FecId fecId) const;

  /// Files the prefix under `fecId`, and under no other from now on. Mav::RangeException beyond
  /// fecsMax. Memory that runs out amid either change leaves prefix and fec apart: the state is
  /// made anew then (mav/memory_failure.h).
  void routeIs(Prefix const& prefix, FecId fecId);
  /// Takes the prefix out: it has no route any more. No effect when it had none.
  void routeDel(Prefix const& prefix);

  /// Gives the fec under which the prefix is filed.
  std::optional<FecId> fecId(Prefix const& prefix) const;
  /// Gives the first prefix not less than `from` that is filed.
  std::optional<Prefix> filedRoute(PackedPrefix<Prefix> const& from) const;
  std::size_t size() const { return filed_.size(); }

  /// The number of fecs that can be in use at a time: three bytes of slots.
  static constexpr std::size_t fecsMax = std::size_t{1} << 24U;

 private:
  using Key = PackedPrefix<Prefix>;
  /// A place in fecs_ in three octets.
  class Slot {
   public:
    explicit Slot(std::size_t place);
    operator std::size_t() const;

   private:
    std::array<std::uint8_t, 3> octets_;
  };
  /// A fec and who uses it. A place is filled again, never removed: what is filed names it by
  /// number.
  struct FecRoutes {
    FecId fecId;
    Prefixes prefixes;  // none: the place is free
  };
  // Packed types have no alignment, so that no padding comes between key and slot: eight octets
  // an IPv4 route.
  using Filed = absl::btree_map<Key, Slot>;
  using Place = typename Filed::const_iterator;

  /// Gives where `key` is or would be. Remembers that: a walk in order moves on by one.
  Place lowerBound(Key const& key) const;
  bool isAt(Place it, Key const& key) const;
  /// Gives the fec's place, and finds it one.
  Slot placeOf(FecId fecId);
  /// Takes the prefix from the fec's set, and frees the place of a set that is empty by that.
  void remove(Slot place, Prefix const& prefix);

  Filed filed_;
  // Whatever changes filed_ sets it anew: no iterator of a b-tree outlives a change.
  mutable Place last_ = filed_.end();  // where lowerBound() led
  std::vector<FecRoutes> fecs_;
  // Places without a fec, and where the fecs that are used have theirs.
  std::vector<Slot> free_;
  absl::btree_map<FecId, Slot> places_;
};

using FecRouteList = BasicFecRouteList<Dovel::Prefix>;
using FecRoute6List = BasicFecRouteList<Dovel::Ip6Prefix>;

}  // namespace Pondo::Fib
