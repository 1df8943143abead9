#pragma once
// One routing table of the kernel, of one version of IP: for each prefix what the kernel has, and
// which of it is served. Version and table are those of the book, and cost its routes nothing.
//
// A prefix may have several routes, told apart by tos and metric, and, when appended, by anything
// else (net/ipv4/fib_trie.c, fib_table_insert). All are kept, in the kernel's order (tos
// descending, metric ascending, then as appended), since the kernel tells of the removal of each,
// but says nothing of those that are replaced. Chosen is, as by the kernel (fib_table_lookup), the
// lowest metric that has a next hop alive; of equal ones tos 0 before others, then the first. What
// kind it is of counts then: one that neither forwards nor refuses (throw, local ...) is not
// served, but hides those behind it.
//
// Two that look the same in every message about them (see ListedRoute) are two here as well when a
// dump lists both; a message means either, and another dump tells which is left.
//
// Made for a million: 24 octets a prefix and the tree's slack; the rare prefix with several routes
// has a list beside. In order of prefixes, as the kernel lists them and as the table wants them.
// One thread.

#include <cstdint>
#include <optional>
#include <vector>

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>
#include <absl/functional/function_ref.h>

#include "kelbase/model/next_hop_sets.h"
#include "kelbase/model/route.h"
#include "platform/dovel/prefix.h"

namespace Kelbase {

/// A route, but for its prefix.
struct KernelRoute {
  std::uint32_t metric = 0;
  NextHopSets::Handle hops = NextHopSets::none;
  std::uint32_t identity = 0;  // see ListedRoute
  std::uint8_t tos = 0;
  std::uint8_t protocol = 0;  // RTPROT_...
  RouteKind kind = RouteKind::unicast;
  std::uint8_t dump = 0;  // the last dump that mentioned it; 0: none of the last 255
};
static_assert(sizeof(KernelRoute) == 16);

/// Where among routes of the same prefix, tos and metric the kernel puts one.
enum class RouteRank {
  listed,    // after those that the dump under way has listed so far, and without the others
  replaced,  // instead of the first
  appended,  // last
  first,
  only,  // there is no other
};

/// `Prefix`: Dovel::Prefix, for IPv4.
template <class Prefix>
class RouteBook {
 public:
  /// `sets`, whose references it holds, must outlive it.
  explicit RouteBook(NextHopSets& sets) : sets_(sets) {}

  /// A walk over what is served, in order of prefixes. Ends with any change of the book.
  class Walk {
   public:
    /// From the first prefix that is not before `from`.
    explicit Walk(RouteBook const& book, Prefix const& from = {});
    bool ended() const { return !route_; }
    Prefix const& prefix() const { return next_->first; }
    KernelRoute const& route() const { return *route_; }
    void next();

   private:
    void skipUnserved();

    RouteBook const& book_;
    typename absl::btree_map<Prefix, KernelRoute>::const_iterator next_;
    std::optional<KernelRoute> route_;
  };

  /// True when what is served of the prefix may be another now. A route that is there already is
  /// taken as repeated, and stays in its place; but a dump repeats nothing.
  bool add(Prefix const& prefix, KernelRoute route, RouteRank rank);
  /// As above. One that is not there changes nothing.
  bool remove(Prefix const& prefix, KernelRoute const& route);

  void dumpBegin();
  /// Forgets what the dump did not mention, and tells its prefixes, in order.
  void sweep(absl::FunctionRef<void(Prefix const&)> gone);

  /// Whether the prefix has others of the route's tos and metric.
  bool hasRivals(Prefix const& prefix, KernelRoute const& route) const;
  /// Whether one of the prefix's routes looks like this one; whether several do.
  bool contains(Prefix const& prefix, KernelRoute const& route) const;
  bool hasTwins(Prefix const& prefix, KernelRoute const& route) const;

  std::optional<KernelRoute> served(Prefix const& prefix) const;
  /// Prefixes.
  std::size_t size() const { return routes_.size(); }

 private:
  using List = std::vector<KernelRoute>;
  using Routes = absl::btree_map<Prefix, KernelRoute>;

  bool isStale(KernelRoute const& route) const { return route.dump != dump_; }
  static bool isServed(KernelRoute const& route);
  std::optional<KernelRoute> servedOf(Prefix const& prefix, KernelRoute const& slot) const;
  void forgetDumps();
  void assign(KernelRoute& slot, KernelRoute const& route);
  bool addTo(Prefix const& prefix, KernelRoute& slot, KernelRoute const& route, RouteRank rank);
  bool beginAnew(Prefix const& prefix, KernelRoute& slot, KernelRoute const& route);
  bool addToSeveral(Prefix const& prefix, KernelRoute& slot, KernelRoute const& route,
                    RouteRank rank);
  void putInto(List& list, KernelRoute const& route, RouteRank rank);
  void eraseRivals(List& list, KernelRoute const& route);
  void slotIsOnly(Prefix const& prefix, KernelRoute& slot);
  void drop(Prefix const& prefix, KernelRoute const& slot);
  void eraseStale(absl::FunctionRef<void(Prefix const&)> gone);
  void keepFresh(absl::FunctionRef<void(Prefix const&)> gone);

  NextHopSets& sets_;
  Routes routes_;
  absl::flat_hash_map<Prefix, List> several_;  // where the slot's kind says so
  std::uint8_t dump_ = 1;
  std::size_t fresh_ = 0;  // prefixes that the last dump, or a message since, mentioned
};

extern template class RouteBook<Dovel::Prefix>;

}  // namespace Kelbase
