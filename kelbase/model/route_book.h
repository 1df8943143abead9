#pragma once
// One routing table of the kernel, of one version of IP: for each prefix what the kernel has, and
// which of it is served. Version and table are those of the book, and cost its routes nothing.
//
// A prefix may have several routes, told apart by tos and metric, and, when appended, by anything
// else (net/ipv4/fib_trie.c, fib_table_insert; net/ipv6/ip6_fib.c, fib6_add_rt2node). All are kept,
// in the kernel's order (tos descending, metric ascending, then as appended), since the kernel
// tells of the removal of each, but says nothing of those that are replaced. Chosen is, as by the
// kernel, the lowest metric that has a next hop alive. What kind it is of counts then: one that
// neither forwards nor refuses (throw, local ...) is not served, but hides those behind it.
//
//   IPv4   of equal ones tos 0 before others, then the first (fib_table_lookup)
//   IPv6   of equal ones all that forward: their next hops together are served, with the
//          protocol of the first, and with their own where that is another (find_rr_leaf); the
//          first that does not forward only where none does
//
// Two that look the same in every message about them (see ListedRoute) are two here as well when a
// dump lists both; a message means either, and another dump tells which is left.
//
// Made for a million: 24 octets an IPv4 prefix, 40 of IPv6, and the tree's slack; the rare prefix
// with several routes has a list beside. In order of prefixes, as the kernel lists them and as the
// table wants them. One thread.

#include <cstdint>
#include <optional>
#include <vector>

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#include <absl/container/inlined_vector.h>
#include <absl/functional/function_ref.h>

#include "kelbase/model/next_hop_sets.h"
#include "kelbase/model/route.h"

namespace Kelbase {

/// A route, but for its prefix.
struct KernelRoute {
  std::uint32_t metric = 0;
  NextHopSets::Handle hops = NextHopSets::none;
  std::uint32_t identity = 0;  // see ListedRoute
  std::uint8_t tos = 0;
  std::uint8_t protocol = 0;  // RTPROT_...
  RouteKind kind : 7 = RouteKind::unicast;
  // Of siblings: all are known to have this protocol, and no end (siblings.h).
  bool isUniform : 1 = true;
  std::uint8_t dump = 0;  // the last dump that mentioned it; 0: none of the last 255
};
static_assert(sizeof(KernelRoute) == 16);

/// The routes of a prefix that have the same tos and metric, in the kernel's order.
using Rivals = absl::InlinedVector<KernelRoute, 2>;
/// How many of them messages cannot tell from `route`; itself among them.
std::size_t lookalikes(Rivals const& rivals, KernelRoute const& route);

/// Where among routes of the same prefix, tos and metric the kernel puts one.
enum class RouteRank {
  listed,    // after those that the dump under way has listed so far, and without the others
  replaced,  // instead of the first
  appended,  // last
  beside,    // last, and another one even where it looks the same
  first,
  only,  // there is no other
};

/// What a message about a route of a prefix has led to.
struct RouteOutcome {
  bool isChanged = false;   // what is served of the prefix may be another now
  bool isDoubtful = false;  // what the kernel has of it may be another
  bool mayUncover = false;  // it may list now what it did not list before
};

/// `Ip`: Ip4 or Ip6.
template <class Ip>
class RouteBook {
 public:
  using Prefix = typename Ip::Prefix;

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

  /// Looks prefixes up that come in their order: one that is near the last costs no descent. Ends
  /// with any change of the book.
  class Search {
   public:
    explicit Search(RouteBook const& book) : book_(book), next_(book.routes_.begin()) {}
    /// The one in use, with the next hops of all that are used together; nothing where none is
    /// served. `prefix`: not before that of the last call.
    std::optional<KernelRoute> served(Prefix const& prefix);

   private:
    RouteBook const& book_;
    typename absl::btree_map<Prefix, KernelRoute>::const_iterator next_;
  };

  /// Where the prefix is, or would be: found once for the steps of one message. Ends with any
  /// change of the book.
  class Place {
   public:
    Prefix const& prefix() const { return prefix_; }

   private:
    friend class RouteBook;
    Place(Prefix const& prefix, typename absl::btree_map<Prefix, KernelRoute>::iterator at)
        : prefix_(prefix), at_(at) {}
    Prefix prefix_;
    typename absl::btree_map<Prefix, KernelRoute>::iterator at_;  // the first not before it
  };
  /// What lies behind all that is known, as in a dump into an empty book, is placed without a
  /// search.
  Place place(Prefix const& prefix);

  /// True when what is served of the prefix may be another now. A route that is there already is
  /// taken as repeated, and stays in its place; but a dump repeats nothing. `route.hops` gets a
  /// reference for as long as the book has the route.
  bool add(Place const& place, KernelRoute route, RouteRank rank);
  /// As above. One that is not there changes nothing.
  bool remove(Place const& place, KernelRoute const& route);
  /// As above: `now` takes the place of `before`, which is there.
  bool change(Place const& place, KernelRoute const& before, KernelRoute const& now);

  void dumpBegin();
  /// Forgets what the dump did not mention, and tells its prefixes, in order.
  void sweep(absl::FunctionRef<void(Prefix const&)> gone);

  /// Those of the prefix that have the route's tos and metric. Copies: the book may change while
  /// they are looked at.
  Rivals rivals(Place const& place, KernelRoute const& route) const;
  /// A nexthop object is another: tells the prefixes where that may change which of several routes
  /// is served, or the next hops of several together. Costs those where one of several has an
  /// object, on each change of any object: they are rare.
  void onObject(absl::FunctionRef<void(Prefix const&)> changed);
  /// Prefixes.
  std::size_t size() const { return routes_.size(); }

 private:
  // Invariants: a slot whose kind is severalKind has an entry in several_ with a list of two or
  // more, and no other slot has one. Each route in a slot or list holds one reference of its set,
  // each joint set another.
  using List = std::vector<KernelRoute>;
  using Routes = absl::btree_map<Prefix, KernelRoute>;
  struct Several {
    List list;
    NextHopSets::Handle joint = NextHopSets::none;  // of those that are served together
  };

  bool isThere(Place const& place) const {
    return place.at_ != routes_.end() && place.at_->first == place.prefix_;
  }
  bool isStale(KernelRoute const& route) const { return route.dump != dump_; }
  static bool isServed(KernelRoute const& route);
  bool forwards(KernelRoute const& route) const;
  bool isBetter(KernelRoute const& a, KernelRoute const& b) const;
  KernelRoute const* best(List const& list) const;
  std::optional<KernelRoute> servedOf(Prefix const& prefix, KernelRoute const& slot) const;
  void refresh(KernelRoute& slot);
  void forgetDumps();
  void assign(KernelRoute& slot, KernelRoute const& route);
  bool addTo(Prefix const& prefix, KernelRoute& slot, KernelRoute const& route, RouteRank rank);
  bool beginAnew(Prefix const& prefix, KernelRoute& slot, KernelRoute const& route);
  bool addToSeveral(Prefix const& prefix, KernelRoute& slot, KernelRoute const& route,
                    RouteRank rank);
  void putInto(List& list, KernelRoute const& route, RouteRank rank);
  void eraseRivals(List& list, KernelRoute const& route);
  void listIsOther(Prefix const& prefix, KernelRoute& slot);
  void join(Prefix const& prefix, Several& several);
  std::vector<NextHop> jointHops(List const& list);
  void drop(Prefix const& prefix, KernelRoute const& slot);
  void eraseStale(absl::FunctionRef<void(Prefix const&)> gone);
  void keepFresh(absl::FunctionRef<void(Prefix const&)> gone);
  void ref(NextHopSets::Handle hops) { sets_.ref(hops, Ip::version); }
  void unref(NextHopSets::Handle hops) { sets_.unref(hops, Ip::version); }

  NextHopSets& sets_;
  Routes routes_;
  absl::flat_hash_map<Prefix, Several> several_;  // where the slot's kind says so
  absl::flat_hash_set<Prefix> joinObjects_;       // of these: where one has a nexthop object
  std::uint8_t dump_ = 1;
  std::size_t fresh_ = 0;  // prefixes that the last dump, or a message since, mentioned
};

extern template class RouteBook<Ip4>;
extern template class RouteBook<Ip6>;

}  // namespace Kelbase
