#pragma once
// For each fec, the prefixes of the routes that use it. Filled by FecRouteListSm, read by the route
// state machine when a fec changes; a million routes are held, so it counts octets: about 22 a
// route. One thread.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <absl/container/btree_map.h>
#include <absl/container/btree_set.h>
#include <absl/container/flat_hash_map.h>

#include "platform/dovel/prefix.h"
#include "platform/mav/object.h"
#include "platform/pondo/fib_values.h"

namespace Pondo::Fib {

class FecRouteList : public Mav::Object {
 public:
  using Prefixes = absl::btree_set<Dovel::Prefix>;

  /// In the order of prefixes; null when no route uses the fec. Valid until the next change.
  Prefixes const* routes(FecId fecId) const;

  /// The route of `prefix` uses `fecId` from now on, and no other.
  void routeIs(Dovel::Prefix const& prefix, FecId fecId);
  /// The prefix has no route any more. No effect when it had none.
  void routeDel(Dovel::Prefix const& prefix);

  /// The fec under which the prefix is filed.
  std::optional<FecId> fecId(Dovel::Prefix const& prefix) const;
  /// The first prefix not less than `from` that is filed.
  std::optional<Dovel::Prefix> filedRoute(Dovel::Prefix const& from) const;
  std::size_t size() const;
};

}  // namespace Pondo::Fib
