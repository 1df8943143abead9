#pragma once
// Whether a dump of routes may have left some out, which the kernel does not tell.
//
// Of IPv6 it remembers from one datagram of the answer to the next how many nodes of its tree it
// has listed, and when a route was added meanwhile it counts them again from the root
// (net/ipv6/ip6_fib.c, fib6_dump_table): for each that was listed and removed, another is left out,
// without NLM_F_DUMP_INTR. So any that goes amid the dump casts doubt. Of IPv4 it remembers the
// address, and of the routes to it how many it has listed, whatever their lengths
// (net/ipv4/fib_trie.c, fn_trie_dump_leaf): there it is one that comes or goes at an address where
// a datagram ended.
//
// What happens amid a dump is heard when it is replayed. Asked by RouteSource alone. One thread.

#include <optional>
#include <utility>

#include <absl/container/flat_hash_set.h>

#include "kelbase/model/family.h"

namespace Kelbase {

/// `Ip`: Ip4 or Ip6.
template <class Ip>
class DumpPieces {
 public:
  using Addr = typename Ip::Addr;

  void dumpBegin() {
    last_.reset();
    edges_.clear();
  }
  /// The dump lists a route to the address.
  void listed(Addr const& address) { last_ = address; }
  void pieceEnd() {
    if (isIp4 && last_) edges_.insert(*last_);
  }
  void dumpEnd() { hasEnded_ = true; }

  /// A route to the address that has come, or gone, is replayed.
  void replayed(Addr const& address, bool isGone) {
    hasShifted_ |= isIp4 ? edges_.contains(address) : isGone;
  }
  /// Whether the dump before this replay is in doubt. What is replayed next is older than another
  /// one, or than none.
  bool replayEnd() {
    bool const hasEnded = std::exchange(hasEnded_, false);
    return std::exchange(hasShifted_, false) && hasEnded;
  }

 private:
  static constexpr bool isIp4 = Ip::version == IpVersion::v4;

  std::optional<Addr> last_;         // that is listed so far
  absl::flat_hash_set<Addr> edges_;  // at which pieces ended
  bool hasShifted_ = false;          // by a route that is replayed: what was listed may be others
  bool hasEnded_ = false;            // since the last replay
};

}  // namespace Kelbase
