#pragma once
// The route of each prefix that is in use, as a row of Pondo::RouteTable.
//
// Written in slices: a million at once would keep the notifications waiting until they overran
// their socket. Changed prefixes wait in their order; each write takes some of them, for at most
// sliceTime, and the next goes on behind them. Then the routes of sets whose way has turned are
// looked for, in a walk over all.

#include <absl/container/btree_set.h>
#include <absl/container/flat_hash_set.h>

#include "kelbase/model/routes.h"
#include "kelbase/publish/fec_view.h"

namespace Kelbase {

class RouteView : public TableView, private Routes::Observer {
 public:
  static constexpr double sliceTime = 0.004;  // seconds

  /// All must outlive it; the fecs are to be written before it.
  RouteView(Routes& routes, NextHopSets const& sets, FecView& fecs);

  std::string_view name() const override { return "routes"; }
  std::string summary() const override;
  void writeRemovals(Pondo::Writer& /*writer*/) override {}
  void writeRest(Pondo::Writer& writer) override;
  bool hasMore() const override {
    return !changed_.empty() || !turned_.empty() || fecs_.hasTurned();
  }
  Pondo::Writer::SyncCounts writeAll(Pondo::Writer& writer) override;

  /// What the table is to hold under `prefix`; nothing: no record.
  std::optional<Pondo::Fib::Route> find(Dovel::Prefix const& prefix) const;

 private:
  void onRoute(std::uint32_t table, Dovel::Prefix const& prefix) override {
    if (table == mainTable) mark(prefix);
  }
  Pondo::Fib::Route recordOf(KernelRoute const& route) const;
  void mark(Dovel::Prefix const& prefix);
  void writeChanged(Pondo::Writer& writer, double end);
  void writeTurned(Pondo::Writer& writer, double end);
  void writeOne(Pondo::Writer& writer, Dovel::Prefix const& prefix) const;

  Routes::Book const& routes_;
  NextHopSets const& sets_;
  FecView& fecs_;
  bool isCompared_ = false;  // with what the table held at first: from then on changes are marked

  absl::btree_set<Dovel::Prefix> changed_;  // to be written
  Dovel::Prefix next_;                      // of those, where the next write starts
  // The walk under way. Sets whose way turns during this walk get a walk of their own.
  absl::flat_hash_set<NextHopSets::Handle> turned_;
  Dovel::Prefix walked_;  // as far as that
};

}  // namespace Kelbase
