#pragma once
// The kernel's IPv4 routes, table by table, as one says and as another takes away: what messages
// about routes, links, addresses and nexthop objects mean for the route of each prefix that is in
// use.
//
// Told by netlink's source of routes, or from a file. Where a message leaves in doubt what the
// kernel has now, the observer of doubts hears of it: the routes are to be listed again. One
// thread.

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <absl/container/flat_hash_set.h>

#include "kelbase/model/address.h"
#include "kelbase/model/next_hop_sets.h"
#include "kelbase/model/route_book.h"
#include "kelbase/model/silent_changes.h"

namespace Kelbase {

class Routes : private Nexthops::Observer {
 public:
  using Rank = RouteRank;
  using Book = RouteBook<Dovel::Prefix>;

  /// Hears of changes after they were made, from inside the call that made them; must not make
  /// any.
  class Observer {
   public:
    virtual ~Observer() = default;
    /// The route of the prefix that is in use may be another; those of a sweep come in order.
    virtual void onRoute(std::uint32_t table, Dovel::Prefix const& prefix) = 0;
  };

  enum class Doubt {
    silence,  // the kernel changes routes, and nexthop objects, without telling
    order,    // of several routes a replayed message, or one of those that look the same
    object,   // maybe as silence: a replayed message about what routes hang on
  };

  /// All must outlive it.
  Routes(Links& links, Addresses4& addresses, Nexthops& nexthops, NextHopSets& sets);
  Routes(Routes const&) = delete;
  Routes& operator=(Routes const&) = delete;

  void observerIs(Observer& observer) { observer_ = &observer; }
  void doubtsAre(std::function<void(Doubt)> heard) { doubt_ = std::move(heard); }

  void is(ListedRoute const& listed, Rank rank);
  void del(ListedRoute const& listed);
  /// See SilentChanges.
  void ignoresLinkdownIs(std::int32_t link, bool on) { silent_.ignoresLinkdownIs(link, on); }
  void dumpBegin();
  void dumpEnd(bool whole);
  /// From here on messages may be older than what the last dump listed, or are not any more.
  void replayIs(bool on);

  /// The routes of a table; that of main is there always. Lives as long as they.
  Book const& table(std::uint32_t number = mainTable) const { return books_.at(number); }

 private:
  void onNexthop(std::uint32_t id) override;
  void onNexthopGone(std::uint32_t /*id*/) override {}
  static KernelRoute keptOf(ListedRoute const& listed);
  void doubt(Doubt why) const {
    if (doubt_) doubt_(why);
  }
  void tell(std::uint32_t table, Dovel::Prefix const& prefix) const {
    if (observer_) observer_->onRoute(table, prefix);
  }

  Nexthops const& nexthops_;
  NextHopSets& sets_;
  std::map<std::uint32_t, Book> books_;  // by table
  SilentChanges silent_;
  Observer* observer_ = nullptr;
  std::function<void(Doubt)> doubt_;
  // Objects of routes that were listed as blackholes: while the object is one the kernel does not
  // tell the routes' own kind.
  absl::flat_hash_set<std::uint32_t> hidingObjects_;
  bool isReplay_ = false;
};

}  // namespace Kelbase
