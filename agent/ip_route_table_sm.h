#pragma once
// Keeps ipCidrRouteTable of IpForwardMib equal to the forwarding table.
//
// Whatever is heard of (a route, a fec, an interface's status) comes down to prefixes that have to
// be looked at again: they are entered in the backlog, which is a set. A pass of the clock works
// the backlog off, prefix by prefix in their order: the rows of a prefix become what the tables say
// at that moment. After backlogQuantum seconds it yields to whatever else the activity has to do,
// and goes on at the bookmark in the next turn, however much was announced at once.
//
// A route's row needs the ifIndex of its interface. Where that has no status, the prefix is entered
// in the interface's list (intfDep), and comes back to the backlog with the status.
//
// Tables that cannot be read (Pondo::ConsistencyException) leave rows and backlog as they are; the
// clock tries again, every Clock::retryDelay seconds. An operator reads of it once an outage. Any
// other error ends the pass too, and keeps its prefix in the backlog.
//
// All on the agent's thread. From inside a notification of IpForwardMib, neither the inputs nor the
// state machine may be changed.

#include <memory>

#include <absl/container/btree_map.h>

#include "agent/fec_rows.h"
#include "agent/prefix_list.h"
#include "model/ip_forward_mib.h"
#include "platform/mav/activity.h"
#include "platform/pondo/fib/fec_route_list_sm.h"

namespace IpSnmp {

class IpRouteTableSm : public Mav::Object {
 public:
  class MavIpForwardMib;
  class MavIntfStatusDir;
  class MavRouteStatus;
  class MavForwardingStatus;
  class MavClock;

  struct MavBacklog {
    bool value = false;
  };
  using BacklogMap = Mav::OrderedMap<Dovel::Prefix, MavBacklog>;
  using BacklogIterator = BacklogMap::Iterator;
  using BacklogIteratorConst = BacklogMap::IteratorConst;
  using IntfDepMap = Mav::OrderedMap<Dovel::IntfId, Mav::Ptr<PrefixList>>;
  using IntfDepIterator = IntfDepMap::Iterator;
  using IntfDepIteratorConst = IntfDepMap::IteratorConst;

  static constexpr double backlogQuantumDefault = 0.01;

  /// Fills the protocol map, and enters every route that is there in the backlog. An input that is
  /// null is not watched: it is as if it held nothing; without a clock no pass runs by itself.
  IpRouteTableSm(Mav::Ptr<Mav::ActivityConfig> activityConfig, Mav::Ptr<IpForwardMib> ipForwardMib,
                 Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir,
                 Mav::Ptr<Pondo::Fib::RouteStatus const> routeStatus,
                 Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus,
                 Mav::Ptr<Mav::Clock const> clock);
  /// Disconnects the reactors. The rows stay in IpForwardMib.
  ~IpRouteTableSm() override;

  Mav::Ptr<Mav::ActivityConfig> const& activityConfig() const { return activityConfig_; }
  Mav::Ptr<IpForwardMib> ipForwardMib() const;
  Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir() const;
  Mav::Ptr<Pondo::Fib::RouteStatus const> routeStatus() const;
  Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus() const;
  Mav::Ptr<Mav::Clock const> clock() const;
  Mav::Ptr<Pondo::Fib::FecRouteList> const& fecRouteList() const { return fecRouteList_; }
  Mav::Ptr<Pondo::Fib::FecRouteListSm> const& fecRouteListSm() const { return fecRouteListSm_; }

  /// Another input is watched from now on, or none. What it holds is not looked at for that:
  /// handleRoute() does.
  void ipForwardMibIs(Mav::Ptr<IpForwardMib> ipForwardMib);
  void intfStatusDirIs(Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir);
  void routeStatusIs(Mav::Ptr<Pondo::Fib::RouteStatus const> routeStatus);
  void forwardingStatusIs(Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus);
  /// A pass that is pending is so on the new clock.
  void clockIs(Mav::Ptr<Mav::Clock const> clock);
  /// None is watched from now on.
  void ipForwardMibDel() { ipForwardMibIs(nullptr); }
  void intfStatusDirDel() { intfStatusDirIs(nullptr); }
  void routeStatusDel() { routeStatusIs(nullptr); }
  void forwardingStatusDel() { forwardingStatusIs(nullptr); }
  void clockDel() { clockIs(nullptr); }

  /// A new list, which nobody keeps up to date yet.
  void fecRouteListIs();
  /// What keeps `fecRouteList` up to date, in the place of what did before. Without `routeStatus`
  /// there are no routes to list, and nothing is made.
  void fecRouteListSmIs(Mav::Ptr<Pondo::Fib::RouteStatus const> const& routeStatus,
                        Mav::Ptr<Pondo::Fib::ForwardingStatus const> const& forwardingStatus,
                        Mav::Ptr<Pondo::Fib::FecRouteList> const& fecRouteList);

  BacklogMap const& backlog() const { return backlog_; }
  BacklogIterator backlogIterator() { return backlog_.first(); }
  BacklogIteratorConst backlogIterator() const { return backlog_.first(); }
  /// Enters the prefix; one that is there stays as it is. Prefixes that come in their order cost no
  /// descent.
  void backlogIs(Dovel::Prefix const& prefix, bool value);
  void backlogDel(Dovel::Prefix const& prefix) { backlog_.erase(prefix); }
  void backlogDelAll() { backlog_.clear(); }

  /// Where the next pass begins: that prefix, or the next one in the backlog.
  Dovel::Prefix const& bookmark() const { return bookmark_; }
  void bookmarkIs(Dovel::Prefix const& bookmark) { bookmark_ = bookmark; }
  /// Seconds that a pass may take.
  double backlogQuantum() const { return backlogQuantum_; }
  void backlogQuantumIs(double seconds) { backlogQuantum_ = seconds; }

  /// The list of the interface, or null.
  Mav::Ptr<PrefixList> intfDep(Dovel::IntfId const& intfId) const { return intfDep_.get(intfId); }
  IntfDepIterator intfDepIterator() { return intfDep_.first(); }
  IntfDepIteratorConst intfDepIterator() const { return intfDep_.first(); }
  /// An empty list, not filed yet.
  static Mav::Ptr<PrefixList> newIntfDep(Dovel::IntfId const& intfId) {
    return Mav::makeObject<PrefixList>(intfId);
  }
  /// The list of the interface, a new one if there is none.
  Mav::Ptr<PrefixList> intfDepIs(Dovel::IntfId const& intfId);
  void intfDepDel(Dovel::IntfId const& intfId) { intfDep_.erase(intfId); }
  void intfDepDelAll() { intfDep_.clear(); }

  /// Enters every route in the backlog.
  void handleRoute();
  void handleRoute(Dovel::Prefix const& prefix);
  /// Enters the routes that use the fec.
  void handleFec(Pondo::Fib::FecId const& fecId);
  /// Enters the routes that waited for the interface.
  void handleIntfStatus(Dovel::IntfId const& intfId);

  /// Has a pass run in the next turn, unless one is pending.
  void doSetupBacklogTimer();
  /// One pass.
  void doProcessIpRouteBacklog();

 private:
  void doInstantiate();
  void listRoutesOfFecs();
  /// Whether the backlog is worked off by then.
  bool workOff(double deadline);
  void process(Dovel::Prefix const& prefix);
  /// What the route's rows are; null when it has none.
  FecRows const* fecRows(Dovel::Prefix const& prefix, Pondo::Fib::Route const* route);
  void refuse(Dovel::Prefix const& prefix, FecRows::Refusal const& refusal);

  Mav::Ptr<Mav::ActivityConfig> const activityConfig_;

  BacklogMap backlog_;
  BacklogMap::Cursor entry_{backlog_};  // where backlogIs() was last
  BacklogMap::Cursor work_{backlog_};   // where a pass is
  Dovel::Prefix bookmark_;
  double backlogQuantum_ = backlogQuantumDefault;
  IntfDepMap intfDep_;
  absl::btree_map<Pondo::Fib::FecId, FecRows> fecRows_;  // of one pass

  Mav::Ptr<Pondo::Fib::FecRouteList> fecRouteList_;
  Mav::Ptr<Pondo::Fib::FecRouteListSm> fecRouteListSm_;
  std::unique_ptr<MavIpForwardMib> mavIpForwardMib_;
  std::unique_ptr<MavIntfStatusDir> mavIntfStatusDir_;
  std::unique_ptr<MavRouteStatus> mavRouteStatus_;
  std::unique_ptr<MavForwardingStatus> mavForwardingStatus_;
  std::unique_ptr<MavClock> mavClock_;
};

}  // namespace IpSnmp
