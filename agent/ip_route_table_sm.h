#pragma once
// Keeps ipCidrRouteTable of IpForwardMib equal to the IPv4 forwarding table, and the IPv4 routes
// that refuse, which inetCidrRouteTable alone serves. How it goes about it is said in
// route_table_sm.h.
//
// A route's row needs the ifIndex of its interface. Where that has no status, the prefix is entered
// in the interface's list (intfDep), and comes back to the backlog with the status.

#include <absl/container/btree_map.h>

#include "agent/fec_rows.h"
#include "agent/prefix_list.h"
#include "agent/reactor.h"
#include "agent/route_table_sm.h"

namespace IpSnmp {

class IpRouteTableSm : public RouteTableSm<Dovel::Prefix> {
 public:
  using MavIntfStatusDir = IntfStatusDirReactor<IpRouteTableSm>;

  using IntfDepMap = Mav::OrderedMap<Dovel::IntfId, Mav::Ptr<PrefixList>>;
  using IntfDepIterator = IntfDepMap::Iterator;
  using IntfDepIteratorConst = IntfDepMap::IteratorConst;

  /// Fills the protocol map, and enters every route that is there in the backlog. An input that is
  /// null is not watched: it is as if it held nothing; without a clock no pass runs by itself.
  IpRouteTableSm(Mav::Ptr<Mav::ActivityConfig> activityConfig, Mav::Ptr<IpForwardMib> ipForwardMib,
                 Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir,
                 Mav::Ptr<Pondo::Fib::RouteStatus const> routeStatus,
                 Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus,
                 Mav::Ptr<Mav::Clock const> clock);
  ~IpRouteTableSm() override;

  Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir() const;
  void intfStatusDirIs(Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir);
  void intfStatusDirDel() { intfStatusDirIs(nullptr); }

  /// The list of the interface, or null. A list stays when it has become empty: one for each name
  /// that a fec has named in vain.
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

  /// Enters the routes that waited for the interface. Called when its status comes and when it
  /// goes; rows that lead through it stay until their route or fec is announced.
  void handleIntfStatus(Dovel::IntfId const& intfId);

  void doProcessIpRouteBacklog() override;

 private:
  // The protocol map is the process's, and is filled the same by each state machine that is made.
  void doInstantiate();
  void process(Dovel::Prefix const& prefix) override;
  std::optional<Dovel::Prefix> filedRoute(Place const& from) const override;
  /// What the route's rows are; null when it has none.
  FecRows const* fecRows(Dovel::Prefix const& prefix, Pondo::Fib::Route const* route);
  /// Tells of a via without a row, and has the prefix wait where its interface is not known.
  void refuse(Dovel::Prefix const& prefix, FecRows::Refusal const& refusal);

  // No prefix is taken out of a list when its route goes: it costs one look when the status comes.
  IntfDepMap intfDep_;
  absl::btree_map<Pondo::Fib::FecId, FecRows> fecRows_;  // of one pass
  std::unique_ptr<MavIntfStatusDir> mavIntfStatusDir_;
};

}  // namespace IpSnmp
