#pragma once
// The route of each prefix that is in use, of one version of IP, as a row of Pondo::RouteTable or
// Pondo::Route6Table.
//
// Written in slices: a million at once would keep the notifications waiting until they overran
// their socket. Changed prefixes wait in their order; each write takes some of them, for at most
// sliceTime, and the next goes on behind them. Then the routes of sets whose way has turned are
// looked for, in a walk over all.
//
// A row tells when its route was seen to change, but for what a table that held nothing is first
// filled with: since when that was so nobody knows.
//
// A route that is marked twice between two writes is written once, as it is then; one that came and
// went is not written at all. A replaced fec writes no route.

#include <type_traits>
#include <vector>

#include <absl/container/btree_set.h>
#include <absl/container/flat_hash_set.h>

#include "kelbase/model/routes.h"
#include "kelbase/publish/fec_view.h"

namespace Kelbase {

/// `Ip`: Ip4 or Ip6.
template <class Ip>
class RouteView : public TableView, private Routes<Ip>::Observer {
 public:
  using Prefix = typename Ip::Prefix;
  using Table =
      std::conditional_t<Ip::version == IpVersion::v4, Pondo::RouteTable, Pondo::Route6Table>;

  static constexpr double sliceTime = 0.004;  // seconds

  /// All must outlive it; the fecs are to be written before it. It becomes the observer of the
  /// routes.
  RouteView(Routes<Ip>& routes, FecView& fecs);

  std::string_view name() const override { return "routes"; }
  std::string summary() const override { return routes_.summary(); }
  void writeRest(Pondo::Writer& writer) override;
  bool hasMore() const override {
    return !changed_.empty() || !turned_.empty() || !turning_.empty();
  }
  /// Counts the difference; hasMore() says whether any of it is to be written.
  Pondo::Writer::SyncCounts writeAll(Pondo::Writer& writer) override;

 private:
  using RouteType = Routing::Fib::RouteType;
  using Search = typename RouteBook<Ip>::Search;
  using Walk = typename RouteBook<Ip>::Walk;

  void onRoute(std::uint32_t table, Prefix const& prefix) override {
    if (table == mainTable) mark(prefix);
  }
  RouteType typeOf(KernelRoute const& route) const;
  Pondo::Fib::Route recordOf(KernelRoute const& route) const;
  void mark(Prefix const& prefix);
  void writeChanged(Pondo::Writer& writer, double end);
  void writeTurned(Pondo::Writer& writer, double end);
  void writeOne(Pondo::Writer& writer, Prefix const& prefix, Search& own) const;
  /// Whatever the age: that of the table is the better one.
  bool isRecordOf(std::string_view bytes, KernelRoute const& route) const;
  void put(Pondo::Writer& writer, Prefix const& prefix, KernelRoute const& route) const;

  RouteBook<Ip> const& book() const { return routes_.table(); }

  Routes<Ip> const& routes_;
  FecView& fecs_;
  bool isCompared_ = false;  // with what the table held at first: from then on changes are marked

  // No copy of a route is kept here: a prefix is looked up in the book when it is written.
  absl::btree_set<Prefix> changed_;  // to be written
  Prefix next_;                      // of those, where the next write starts
  std::uint32_t changedAt_ = 0;      // of what is written now
  bool isFirstFill_ = false;         // of a table that held nothing
  // The walk under way, and the next one's: of sets whose way turns during this walk.
  absl::flat_hash_set<NextHopSets::Handle> turned_;
  Prefix walked_;  // as far as that
  std::vector<NextHopSets::Handle> turning_;
};

extern template class RouteView<Ip4>;
extern template class RouteView<Ip6>;

}  // namespace Kelbase
