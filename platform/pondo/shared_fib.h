#pragma once
// Routes and fecs of the shared tables: what RouteStatus and ForwardingStatus show in the agent.
//
// A Listener of the Follower: announces to the notifiees of both what the change log, or a
// comparison, names. Reads go to the tables themselves, in one snapshot that is taken at the first
// read of a turn of the activity and ended with the turn. While there are no tables to read (no run
// directory, another schema, new ones that the publisher has not filled yet) every read raises
// ConsistencyException: nothing that is known is forgotten then.
//
// The state machines are created before the Follower has opened anything: their initial sweep finds
// an empty table, and the first comparison then announces every route in slices, between which the
// daemon answers. All on the activity's thread. Must outlive its Follower... as a Listener does.

#include "platform/mav/activity.h"
#include "platform/pondo/follower.h"
#include "platform/pondo/forwarding_status.h"
#include "platform/pondo/route_status.h"

namespace Pondo::Fib {

class SharedFib : public Listener {
 public:
  explicit SharedFib(Mav::Activity& activity);
  ~SharedFib() override;

  Mav::Ptr<RouteStatus const> routeStatus() const;
  Mav::Ptr<ForwardingStatus const> forwardingStatus() const;

  /// Where reads go. Told once the Follower exists, null before it goes; until then, and while it
  /// has no tables to show, the tables are empty to the initial sweep (see above) and every other
  /// read raises ConsistencyException.
  void followerIs(Follower const* follower);

  std::span<TableId const> tables() const override;
  void onChanges(Snapshot const& snapshot, std::span<Change const> changes) override;
  std::optional<std::string> filedKey(TableId table, std::string_view from) const override;
  void onInSync() override;
};

}  // namespace Pondo::Fib
