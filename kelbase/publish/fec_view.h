#pragma once
// The sets of next hops that routes of both versions of IP use, as rows of Pondo::FecTable, to
// which the rows of routes refer (route_view.h).
//
// The fec of a nexthop object has the object's id, so that replacing the object writes one row; the
// others have ids from inlineFecMin on, drawn when first written. A set that no route uses has no
// row. Fecs name their links: a link that is renamed has every fec through it written again.
//
// Written before the routes, until it has no more; writeUnused() once no route that is published
// can refer to what it takes away: then it lets the model forget the set.
//
// What a fec is (its id, its way) stays from one write to the next: a change heard in between is
// seen by nobody before it is written, so that routes and fecs of one commit agree.

#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

#include <absl/container/flat_hash_set.h>

#include "kelbase/model/next_hop_sets.h"
#include "kelbase/publish/table_view.h"

namespace Kelbase {

class FecView : public TableView, private NextHopSets::Observer {
 public:
  using Handle = NextHopSets::Handle;
  /// Above all ids of nexthop objects, which are 32 bits wide. A publisher gives out none of them
  /// twice.
  static constexpr std::uint64_t inlineFecMin = std::uint64_t{1} << 32U;
  static constexpr double sliceTime = 0.004;  // seconds

  enum class Way {
    unknown,  // nothing to publish: an object that is not known, a link without a name
    forward,  // has a fec
    discard,  // an object that drops what is sent to it
  };

  /// All must outlive it. It becomes the observer of the sets.
  FecView(Links const& links, Nexthops const& nexthops, NextHopSets& sets);

  /// As of the last write that left nothing.
  Way way(Handle handle) const { return shown(handle).way; }
  /// For those that forward.
  Pondo::Fib::FecId fecId(Handle handle) const { return Pondo::Fib::FecId(shown(handle).fecId); }
  /// To `turned` goes from here on each set whose way is another: its routes are to be written
  /// again. It must live as long as the sets are written.
  void tellTurned(std::vector<Handle>& turned) { turned_.push_back(&turned); }
  std::string_view name() const override { return "fecs"; }
  /// "3 nexthop objects, 2 next-hop sets"
  std::string summary() const override;
  void writeRest(Pondo::Writer& writer) override;
  bool hasMore() const override { return !dirty_.empty(); }
  void writeUnused(Pondo::Writer& writer) override;
  /// Finds again, by their content, the fecs that an earlier publisher wrote, and writes the
  /// difference; what is superfluous is left to writeUnused().
  Pondo::Writer::SyncCounts writeAll(Pondo::Writer& writer) override;

 private:
  /// What is published of a set.
  struct Shown {
    std::uint64_t fecId = 0;  // 0: not drawn yet
    Way way = Way::unknown;
    bool isSettled = false;  // routes may have been written by its way
    bool isDirty = false;    // in dirty_
    bool isUnused = false;   // in unused_
    bool isCut = false;
  };
  using FecIds = absl::flat_hash_set<std::uint64_t>;

  void onSet(Handle handle) override;
  void onSetUnused(Handle handle) override;
  /// Made where the handle is new. Ends with shown() of another: the vector may grow.
  Shown& shown(Handle handle);
  Shown const& shown(Handle handle) const { return shown_.at(handle); }
  bool isPublished(Handle handle) const;
  void drawId(Handle handle);
  void cutIs(Shown& shown, std::size_t hops);
  Pondo::Fib::Fec fecOf(Handle handle);
  void wayIs(Handle handle, Way way);
  /// True when the fec was written and is another than before.
  bool writeFec(Pondo::Writer& writer, Handle handle);
  /// See writeAll().
  FecIds adopt(Pondo::Writer& writer);

  Links const& links_;
  Nexthops const& nexthops_;
  NextHopSets& sets_;
  // A handle that was forgotten leaves an empty one behind, for the set that gets the handle next.
  std::vector<Shown> shown_;                  // by handle
  std::deque<Handle> dirty_;                  // to be written, where they still are dirty
  std::vector<Handle> unused_;                // to be erased, if they still are
  std::vector<std::vector<Handle>*> turned_;  // of each view of routes
  FecIds superfluous_;                        // of an earlier publisher
  std::uint64_t fecNext_ = inlineFecMin;
  std::size_t cut_ = 0;  // sets that have more next hops than a fec has room for
  bool isCutTold_ = false;
};

}  // namespace Kelbase
