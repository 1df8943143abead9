#pragma once
// Routes and fecs of the shared tables: what RouteStatus and ForwardingStatus show in the agent.
//
// A Listener of the Follower: announces to the notifiees of both what the change log names, and of
// a comparison every route. (Not its fecs: whoever looks at every route anew looks at its fec, and
// what changes in one from then on is in the log.) Reads go to the tables themselves, in one
// snapshot that is taken at the first read of a turn of the activity and ended with the turn. While
// there are no tables to read (no run directory, another schema, new ones that the publisher has
// not filled yet) every read raises ConsistencyException: nothing that is known is forgotten then.
// A notifiee that met one in a handler hears of the same slice again, a little later.
//
// The state machines are created before the Follower has opened anything: their initial sweep finds
// an empty table, and the first comparison then announces every route in slices, between which the
// daemon answers. All on the activity's thread. Must outlive its Follower, as a Listener does; the
// two entities may outlive it, and then have nothing to read.

#include "platform/pondo/fib/forwarding_status.h"
#include "platform/pondo/fib/route_status.h"
#include "platform/pondo/follower/follower.h"

namespace Pondo::Fib {

class SharedFib : public Listener {
 public:
  SharedFib();
  ~SharedFib() override;
  SharedFib(SharedFib const&) = delete;
  SharedFib& operator=(SharedFib const&) = delete;

  Mav::Ptr<RouteStatus const> routeStatus() const;
  Mav::Ptr<ForwardingStatus const> forwardingStatus() const;

  /// Where reads go. Told once the Follower exists, null before it goes. Until tables have been
  /// announced, forEachRoute and forEachFec find none; every other read raises
  /// ConsistencyException.
  void followerIs(Follower const* follower);

  std::span<TableId const> tables() const override;
  /// A fec: all its routes are to be looked at again.
  bool isHeavy(TableId table) const override { return table == TableId::fec; }
  void onChanges(Snapshot const& snapshot, std::span<Change const> changes) override;
  std::optional<std::string> filedKey(TableId table, std::string_view from) const override;
  void onInSync() override;

 private:
  class Tables;
  class Routes;
  class Fecs;

  Mav::Ptr<Tables> const sharedTables_;
  Mav::Ptr<Routes> const routes_;
  Mav::Ptr<Fecs> const fecs_;
};

}  // namespace Pondo::Fib
