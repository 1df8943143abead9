#pragma once
// IPv4 routes of table main: RTM_NEWROUTE and RTM_DELROUTE (rtnetlink(7)) to Pondo::RouteTable.
//
// Written in slices: a million at once would keep the notifications waiting until they overran
// their socket. Changed prefixes wait in their order; each write takes some of them, for at most
// sliceTime, and the next goes on behind them. Then the routes of sets whose way has turned are
// looked for, in a walk over all. What the kernel removes in silence (silent_removals.h) is found
// by another dump.

#include <absl/container/btree_set.h>
#include <absl/container/flat_hash_set.h>

#include "kelbase/publish/nexthop_source.h"
#include "kelbase/publish/route_book.h"
#include "kelbase/publish/silent_removals.h"

namespace Kelbase {

class RouteSource : public TableSource {
 public:
  static constexpr double sliceTime = 0.004;  // seconds
  /// From a hint at silent removals to the dump: more of them are likely to follow at once.
  static constexpr double hintDelay = 0.05;  // seconds
  /// From a replay that may have gone wrong to the dump that makes it good.
  static constexpr double doubtDelay = 1.0;  // seconds

  /// `nexthops` must outlive it, and be written before it.
  explicit RouteSource(NexthopSource& nexthops);

  std::string_view name() const override { return "IPv4 routes"; }
  std::span<unsigned const> groups() const override;
  std::span<NetlinkRequest const> requests() const override { return requests_; }
  bool takes(std::uint16_t messageType) const override;
  void dumpBegin() override;
  void dumpEnd(bool whole) override;
  void receive(NetlinkMessage const& message) override;
  void replayIs(bool on) override { isReplay_ = on; }
  void writeRemovals(Pondo::Writer& /*writer*/) override {}
  void writeRest(Pondo::Writer& writer) override;
  bool hasMore() const override {
    return !changed_.empty() || !turned_.empty() || sets_.hasTurned();
  }
  Pondo::Writer::SyncCounts writeAll(Pondo::Writer& writer) override;
  std::string summary() const override;

  /// What the table is to hold under `prefix`; nothing: no record.
  std::optional<Pondo::Fib::Route> find(Dovel::Prefix const& prefix) const;

 private:
  void receiveRoute(NetlinkMessage const& message);
  void readAgain(NetlinkMessage const& why) const;
  void objectIs(NetlinkMessage const& message);
  bool isInDoubt(KernelRoute const& route, NetlinkMessage const& message) const;
  RouteBook::Place placeOf(NetlinkMessage const& message) const;
  Pondo::Fib::Route recordOf(KernelRoute const& route) const;
  void mark(Dovel::Prefix const& prefix);
  void writeChanged(Pondo::Writer& writer, double end);
  void writeTurned(Pondo::Writer& writer, double end);
  void writeOne(Pondo::Writer& writer, Dovel::Prefix const& prefix) const;

  NexthopSource& nexthops_;
  HopSets& sets_;
  RouteBook book_;
  SilentRemovals silent_;
  std::vector<NetlinkRequest> requests_;
  ListedRoute message_;  // its memory is used again
  // Objects of routes that were listed as blackholes: while the object is one the kernel does not
  // tell the routes' own type.
  absl::flat_hash_set<std::uint32_t> hidingObjects_;
  bool isDumping_ = false;
  bool isReplay_ = false;
  bool isCompared_ = false;  // with what the table held at first: from then on changes are marked

  absl::btree_set<Dovel::Prefix> changed_;  // to be written
  Dovel::Prefix next_;                      // of those, where the next write starts
  // The walk under way. Sets that turn meanwhile, again or for the first time, have the next.
  absl::flat_hash_set<HopSets::Handle> turned_;
  Dovel::Prefix walked_;  // as far as that
};

}  // namespace Kelbase
