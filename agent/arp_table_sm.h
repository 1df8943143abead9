#pragma once
// Keeps arpTable of IpMib in step with the host's IPv4 neighbours: decides which rows exist. A row
// is filed under the ifIndex of its interface and the neighbour's address, and refers to the
// interface's Arp::ArpIntfStatus, where what it shows is looked up when it is read.
//
//   Arp::NeighborDir ──► MavStatus ──► MavArpIntfStatus ──► IpMib
//   Interface::AllIntfStatusDir ──► MavIntfStatusDir ──► MavArpIntfStatus: the ifIndex
//
// One reactor of each Arp::ArpIntfStatus (arp_reactors.h) files its neighbours once the interface's
// ifIndex is known. No state of its own but that.
//
// What looks odd and is meant so:
// - An ifIndex of 0 is accepted, unlike in IpAddressTableSm.
// - An interface whose ifIndex changes keeps its rows under the old one as well.
// - An interface that loses its ARP status loses all rows of its ifIndex, whoever filed them.
// Whoever fills the entities gives an ARP status to one interface of an ifIndex, and takes it away
// before the ifIndex is another one's.
//
// Works within the notification that caused it: no timer, no batch. All on the agent's thread.
// From inside a notification of IpMib, neither the inputs nor the state machine may be changed.

#include <memory>

#include "agent/reactor.h"
#include "agent/reactor_set.h"
#include "model/ip_mib.h"
#include "platform/mav/activity.h"
#include "platform/state/entities/arp_neighbor_dir.h"

namespace IpSnmp {

class ArpTableSm : public Mav::Object {
 public:
  using MavIntfStatusDir = IntfStatusDirReactor<ArpTableSm>;
  class MavIpMib;
  class MavStatus;
  class MavArpIntfStatus;

  /// Connects the reactors, which file what the entities hold. An input that is null is not
  /// watched; without `ipMib` no neighbour can be filed (RangeException "null ValidPtr").
  ArpTableSm(Mav::Ptr<Mav::ActivityConfig> activityConfig,
             Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir, Mav::Ptr<IpMib> ipMib,
             Mav::Ptr<Arp::NeighborDir const> status);
  /// Disconnects the reactors. What was filed stays in IpMib.
  ~ArpTableSm() override;

  Mav::Ptr<Mav::ActivityConfig> const& activityConfig() const { return activityConfig_; }
  Mav::Ptr<IpMib> const& ipMib() const { return ipMib_; }
  Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir() const;
  Mav::Ptr<Arp::NeighborDir const> status() const;

  /// An input is taken away: the reactors that watch it, or what hangs on it, go. What was filed
  /// stays.
  void intfStatusDirDel();
  /// From then on a neighbour that comes or goes is a RangeException in its reactor, and is traced.
  void ipMibDel();
  void statusDel();

  /// Null when there is no such interface, or no directory.
  Mav::Ptr<Interface::IntfStatus const> intfStatus(Dovel::IntfId const& intf) const;

  /// The reactors of the interfaces, by name. Is: creates the one of an entity, unless it is there.
  /// Del: the interface's reactor withdraws all rows of its ifIndex, and goes. DelAll: all go, what
  /// they filed stays.
  Mav::Ptr<MavArpIntfStatus> arpIntfStatus(Mav::Name const& name) const;
  void arpIntfStatusIs(Mav::Ptr<Arp::ArpIntfStatus const> const& entity);
  void arpIntfStatusDel(Mav::Name const& name);
  void arpIntfStatusDelAll();

  /// Hands the interface's status, or that there is none, to its reactor.
  void handleIntfStatus(Dovel::IntfId intf);
  /// The same for every interface in the directory.
  void handleIntfStatus();

 private:
  Mav::Ptr<Mav::ActivityConfig> const activityConfig_;
  Mav::Ptr<IpMib> ipMib_;

  // The destructor lets go of the reactors before any member goes: they call into this.
  ReactorSet<MavArpIntfStatus, Mav::Name> arpIntfStatus_;

  std::unique_ptr<MavIntfStatusDir> mavIntfStatusDir_;
  std::unique_ptr<MavIpMib> mavIpMib_;
  std::unique_ptr<MavStatus> mavStatus_;
};

}  // namespace IpSnmp
