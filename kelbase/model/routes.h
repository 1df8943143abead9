#pragma once
// The kernel's routes of one version of IP, table by table, as one says and as another takes away:
// what messages about routes, links, addresses and nexthop objects mean for the route of each
// prefix that is in use.
//
// An IPv6 prefix within fe80::/10 is one of each link that its next hops lead through; of those
// that refuse, and of objects that are not known, that is the loopback, as the kernel tells them.
//
// Told by netlink's source of routes, or from a file. Where a message leaves in doubt what the
// kernel has now, the observer of doubts hears of it: the routes are to be listed again. One
// thread.

#include <functional>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include <absl/container/flat_hash_set.h>

#include "kelbase/model/address.h"
#include "kelbase/model/appended_routes.h"
#include "kelbase/model/next_hop_sets.h"
#include "kelbase/model/route_book.h"
#include "kelbase/model/siblings.h"
#include "kelbase/model/silent_changes.h"

namespace Kelbase {

enum class RouteDoubt {
  silence,  // the kernel changes routes, and nexthop objects, without telling
  order,    // of several routes a message, or one of those that look the same
  object,   // maybe as silence: a replayed message about what routes hang on
  cover,    // none, but the kernel may list a route that it did not list before
};

/// `Ip`: Ip4 or Ip6.
template <class Ip>
class Routes : private Nexthops::Observer {
 public:
  using Book = RouteBook<Ip>;
  using Prefix = typename Ip::Prefix;
  using Listed = ListedRoute<Ip>;
  using Rules = std::conditional_t<Ip::version == IpVersion::v4, AppendedRoutes, Siblings>;

  /// Hears of changes after they were made, from inside the call that made them; must not make
  /// any.
  class Observer {
   public:
    virtual ~Observer() = default;
    /// The route of the prefix that is in use may be another; those of a sweep come in order.
    virtual void onRoute(std::uint32_t table, Prefix const& prefix) = 0;
  };

  /// All must outlive it.
  Routes(Links& links, OnLinks<AddressOf<Ip>>& addresses, Nexthops& nexthops, NextHopSets& sets);
  Routes(Routes const&) = delete;
  Routes& operator=(Routes const&) = delete;

  void observerIs(Observer& observer) { observer_ = &observer; }
  void doubtsAre(std::function<void(RouteDoubt)> heard) { doubt_ = std::move(heard); }

  /// The kernel has the route; `rank` is where the message puts it among others of its prefix. Most
  /// of its cost is a descent of the book's tree.
  void is(Listed const& listed, RouteRank rank);
  /// The kernel has removed the route that looks like this one. One that is not known changes
  /// nothing.
  void del(Listed const& listed);
  /// See SilentChanges.
  void ignoresLinkdownIs(std::int32_t link, bool on) { silent_.ignoresLinkdownIs(link, on); }
  void ip6Is(std::int32_t link, bool on) { silent_.ip6Is(link, on); }
  void dumpBegin();
  /// `whole`: what the dump did not list goes, and observers hear of it prefix by prefix.
  void dumpEnd(bool whole);
  /// From here on messages may be older than what the last dump listed, or are not any more.
  void replayIs(bool on);

  /// The routes of a table; that of main is there always. Lives as long as they.
  Book const& table(std::uint32_t number = mainTable) const { return books_.at(number); }
  /// "3 IPv4 routes"
  std::string summary() const;

 private:
  void onNexthop(std::uint32_t id) override;
  void onNexthopGone(std::uint32_t id) override;
  template <class Take>
  void inZones(Listed const& listed, Take const& take);
  std::set<std::int32_t> zonesOf(Listed const& listed);
  static KernelRoute keptOf(Listed const& listed);
  void setHops(Listed const& listed, KernelRoute& route);
  void heard(std::uint32_t table, Prefix const& prefix, RouteOutcome outcome) const;
  void joinAnew();
  bool listsAnotherKind(std::uint32_t object) const;
  void hearKind(Listed const& listed);
  void doubt(RouteDoubt why) const {
    if (doubt_) doubt_(why);
  }
  void tell(std::uint32_t table, Prefix const& prefix) const {
    if (observer_) observer_->onRoute(table, prefix);
  }

  Nexthops const& nexthops_;
  NextHopSets& sets_;
  std::map<std::uint32_t, Book> books_;  // by table
  SilentChanges<Ip> silent_;
  Observer* observer_ = nullptr;
  std::function<void(RouteDoubt)> doubt_;
  // Objects that are blackholes, of routes that were listed so, and those of routes that were
  // listed as a kind of their own that does not forward. While an object is a blackhole, the kernel
  // lists every route through it as one and does not tell the route's own kind (fib_dump_info,
  // rt6_fill_node).
  absl::flat_hash_set<std::uint32_t> hidingObjects_;
  absl::flat_hash_set<std::uint32_t> bareObjects_;
  // Objects that zones hang on.
  absl::flat_hash_set<std::uint32_t> zoneObjects_;
  std::vector<NextHop> hops_;  // its memory is used again
  bool isReplay_ = false;
  absl::flat_hash_set<Prefix> replaced_;  // of which a route was replaced in this replay
};

using Routes4 = Routes<Ip4>;
using Routes6 = Routes<Ip6>;
extern template class Routes<Ip4>;
extern template class Routes<Ip6>;

}  // namespace Kelbase
