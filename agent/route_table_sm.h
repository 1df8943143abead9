#pragma once
// What the route state machines of both families are: the backlog, its passes and what fills it.
//
//   a route ───────────────────────────────────┐
//   a fec ──► FecRouteList ──► its prefixes ───┼─► backlog ──► a pass: process() ──► IpForwardMib
//   an interface (IPv4) ──► its PrefixList ────┘
//
// Whatever is heard of (a route, a fec) comes down to prefixes that have to be looked at again:
// they are entered in the backlog, which is a set. A pass of the clock works the backlog off,
// prefix by prefix in their order: the rows of a prefix become what the tables say at that moment.
// After backlogQuantum seconds it yields to whatever else the activity has to do, and goes on at
// the bookmark in the next turn, however much was announced at once.
//
// Tables that cannot be read (Pondo::ConsistencyException) leave rows and backlog as they are; the
// clock tries again, every Clock::retryDelay seconds. An operator reads of it once an outage. Any
// other error ends the pass too, and keeps its prefix in the backlog.
//
// All on the agent's thread. From inside a notification of IpForwardMib, neither the inputs nor the
// state machine may be changed.

#include <memory>

#include "model/ip_forward_mib.h"
#include "platform/mav/activity.h"
#include "platform/mav/ordered_map_cursor.h"
#include "platform/pondo/fib/fec_route_list_sm.h"

namespace IpSnmp {

/// What a route state machine calls itself in traces: full signatures, and its table.
struct RouteTableTexts {
  char const* sweep;
  char const* route;
  char const* fec;
  char const* table;
};

/// The row that a route which refuses has in inetCidrRouteTable, and in no other table; nothing of
/// one that carries traffic. Its ifIndex is 0, since it names no interface (RFC 4292), and its
/// protocol that of the route.
std::optional<InetCidrRouteRow> refusalRow(Pondo::Fib::Route const& route);

template <class Prefix>
class RouteTableSm : public Mav::Object {
 public:
  using RouteStatus = Pondo::Fib::BasicRouteStatus<Prefix>;
  using FecRouteList = Pondo::Fib::BasicFecRouteList<Prefix>;
  using FecRouteListSm = Pondo::Fib::BasicFecRouteListSm<Prefix>;
  using Place = Pondo::Fib::PackedPrefix<Prefix>;  // among the prefixes
  class MavIpForwardMib;
  class MavRouteStatus;
  class MavForwardingStatus;
  class MavClock;

  // `value` is true of each that is in it: the set is of the prefixes.
  struct MavBacklog {
    bool value = false;
  };
  using BacklogMap = Mav::OrderedMap<Prefix, MavBacklog>;
  using BacklogIterator = typename BacklogMap::Iterator;
  using BacklogIteratorConst = typename BacklogMap::IteratorConst;

  static constexpr double backlogQuantumDefault = 0.01;

  /// Disconnects the reactors. The rows stay in IpForwardMib.
  ~RouteTableSm() override;

  Mav::Ptr<Mav::ActivityConfig> const& activityConfig() const { return activityConfig_; }
  Mav::Ptr<IpForwardMib> ipForwardMib() const;
  Mav::Ptr<RouteStatus const> routeStatus() const;
  Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus() const;
  Mav::Ptr<Mav::Clock const> clock() const;
  Mav::Ptr<FecRouteList> const& fecRouteList() const { return fecRouteList_; }
  Mav::Ptr<FecRouteListSm> const& fecRouteListSm() const { return fecRouteListSm_; }

  /// Another input is watched from now on, or none. What it holds is not looked at for that:
  /// handleRoute() does.
  void ipForwardMibIs(Mav::Ptr<IpForwardMib> ipForwardMib);
  void routeStatusIs(Mav::Ptr<RouteStatus const> routeStatus);
  void forwardingStatusIs(Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus);
  /// A pass that is pending is so on the new clock.
  void clockIs(Mav::Ptr<Mav::Clock const> clock);
  /// None is watched from now on.
  void ipForwardMibDel() { ipForwardMibIs(nullptr); }
  void routeStatusDel() { routeStatusIs(nullptr); }
  void forwardingStatusDel() { forwardingStatusIs(nullptr); }
  void clockDel() { clockIs(nullptr); }

  /// A new list, which nobody keeps up to date yet.
  void fecRouteListIs();
  /// What keeps `fecRouteList` up to date, in the place of what did before. Without `routeStatus`
  /// there are no routes to list, and nothing is made.
  void fecRouteListSmIs(Mav::Ptr<RouteStatus const> const& routeStatus,
                        Mav::Ptr<Pondo::Fib::ForwardingStatus const> const& forwardingStatus,
                        Mav::Ptr<FecRouteList> const& fecRouteList);

  BacklogMap const& backlog() const { return backlog_; }
  BacklogIterator backlogIterator() { return backlog_.first(); }
  BacklogIteratorConst backlogIterator() const { return backlog_.first(); }
  /// Enters the prefix; one that is there stays as it is. Prefixes that come in their order cost no
  /// descent.
  void backlogIs(Prefix const& prefix, bool value);
  // What leaves the backlog unlooked at keeps the rows that it has.
  void backlogDel(Prefix const& prefix) { backlog_.erase(prefix); }
  void backlogDelAll() { backlog_.clear(); }

  /// Where the next pass begins: that prefix, or the next one in the backlog.
  Prefix const& bookmark() const { return bookmark_; }
  void bookmarkIs(Prefix const& bookmark) { bookmark_ = bookmark; }
  /// Seconds that a pass may take.
  double backlogQuantum() const { return backlogQuantum_; }
  void backlogQuantumIs(double seconds) { backlogQuantum_ = seconds; }

  /// Enters every route in the backlog. One walk over the table in place, for state machines that
  /// are made when there are routes already.
  void handleRoute();
  /// Enters the prefix, whether it has a route (still) or not: its pass finds out.
  void handleRoute(Prefix const& prefix);
  /// Enters the routes that use the fec.
  void handleFec(Pondo::Fib::FecId const& fecId);

  /// Has a pass run in the next turn, unless one is pending.
  void doSetupBacklogTimer();
  /// One pass.
  virtual void doProcessIpRouteBacklog() = 0;

 protected:
  /// An input that is null is not watched: it is as if it held nothing; without a clock no pass
  /// runs by itself. `texts` outlive it.
  RouteTableSm(RouteTableTexts const& texts, Mav::Ptr<Mav::ActivityConfig> activityConfig,
               Mav::Ptr<IpForwardMib> ipForwardMib, Mav::Ptr<RouteStatus const> routeStatus,
               Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus,
               Mav::Ptr<Mav::Clock const> clock);

  /// Works the backlog off as far as its quantum goes, and arms the clock for the rest.
  void runPass();
  /// The rows of the prefix become what the tables say.
  virtual void process(Prefix const& prefix) = 0;
  /// The first prefix not less than `from` that has rows.
  virtual std::optional<Prefix> filedRoute(Place const& from) const = 0;

  /// What the tables say now.
  std::optional<Pondo::Fib::Route> route(Prefix const& prefix) const;
  Pondo::Fib::Fec const* fec(Pondo::Fib::FecId const& fecId) const;

 private:
  /// Has the list of routes by fec made anew, for the inputs of now: costs a look at each route.
  void listRoutesOfFecs();
  /// Whether the backlog is worked off by then. What process() throws comes through, with the
  /// bookmark where it was.
  bool workOff(double deadline);

  // Fixed after construction.
  RouteTableTexts const& texts_;
  Mav::Ptr<Mav::ActivityConfig> const activityConfig_;

  // Changed on the agent's thread.
  BacklogMap backlog_;
  typename BacklogMap::Cursor entry_{backlog_};  // where backlogIs() was last
  typename BacklogMap::Cursor work_{backlog_};   // where a pass is
  Prefix bookmark_;
  double backlogQuantum_ = backlogQuantumDefault;

  Mav::Ptr<FecRouteList> fecRouteList_;
  Mav::Ptr<FecRouteListSm> fecRouteListSm_;
  std::unique_ptr<MavIpForwardMib> mavIpForwardMib_;
  std::unique_ptr<MavRouteStatus> mavRouteStatus_;
  std::unique_ptr<MavForwardingStatus> mavForwardingStatus_;
  std::unique_ptr<MavClock> mavClock_;
};

extern template class RouteTableSm<Dovel::Prefix>;
extern template class RouteTableSm<Dovel::Ip6Prefix>;

}  // namespace IpSnmp
