#pragma once
// The routes and fecs of the shared tables: what RouteStatus, Route6Status and ForwardingStatus
// show in the agent.
//
// It listens to the Follower and announces to the notifiees of the entities what the change log
// names. Of a comparison it announces every route, but no fec: whoever looks at a route looks at
// its fec, and a fec that changes from then on is in the log.
//
// Reads go to the tables themselves, in one snapshot, which is taken at the first read of a turn of
// the activity and ends with the turn. While there are no tables to read (no run directory, another
// schema, new ones that the publisher has not filled yet) every read raises ConsistencyException,
// and nothing that is known is forgotten. A notifiee that met the exception in a handler hears of
// the same slice again, a little later.
//
// The state machines are created before the Follower has opened anything. Their first look finds an
// empty table; the first comparison then announces every route in slices, between which the daemon
// answers. All on the activity's thread. A SharedFib must outlive its Follower, as every Listener
// must; the entities may outlive it, and have nothing to read then.

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
  Mav::Ptr<Route6Status const> route6Status() const;
  Mav::Ptr<ForwardingStatus const> forwardingStatus() const;

  /// Sets where reads go: to the Follower once it exists, to null before it goes. Until tables have
  /// been announced, forEachRoute finds nothing and every other read raises ConsistencyException.
  void followerIs(Follower const* follower);

  std::span<TableId const> tables() const override;
  /// True of a fec, because all its routes are looked at again when it changes.
  bool isHeavy(TableId table) const override { return table == TableId::fec; }
  void onChanges(Snapshot const& snapshot, std::span<Change const> changes) override;
  std::optional<std::string> filedKey(TableId table, std::string_view from) const override;
  void onInSync() override;

 private:
  class Tables;
  template <class Table>
  class Routes;
  class Fecs;

  Mav::Ptr<Tables> const sharedTables_;
  Mav::Ptr<Routes<RouteTable>> const routes_;
  Mav::Ptr<Routes<Route6Table>> const routes6_;
  Mav::Ptr<Fecs> const fecs_;
};

}  // namespace Pondo::Fib
