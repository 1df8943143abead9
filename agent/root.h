#pragma once
// Where the state machines meet their inputs. Whoever wires the agent sets the inputs and the two
// cache entities by their setters, in any order, and then has the state
// machines created; each fills its tables at once. The inputs of a state machine are given to its
// setter: the attributes are for others to find.
//
// Deleting a state machine, or the Root, disconnects its reactors; the caches stay with whoever
// holds them. All on the agent's thread, not from inside a notification of what is wired.
//
// No state of its own but these references. Each is counted, so that the order in which the wiring
// lets go of its entities does not matter. Nor does that in which the state machines are created:
// each writes tables of its own, and none reads another's. plugin/caches.cc is what a wiring is.

#include "agent/arp_table_sm.h"
#include "agent/ip6_route_table_sm.h"
#include "agent/ip_address_table_sm.h"
#include "agent/ip_route_table_sm.h"
#include "model/ip_forward_mib.h"

namespace IpSnmp {

class Root : public Mav::Entity {
 public:
  explicit Root(Mav::Name name) : Entity(std::move(name)) {}

  // The inputs, each null until it is set. A setter announces nothing and reaches no state machine
  // that exists: nobody listens to a Root. All but the two caches are const, because the mirrors
  // alone write them.
  Mav::Ptr<Ip::Config const> const& ipConfig() const { return ipConfig_; }
  void ipConfigIs(Mav::Ptr<Ip::Config const> const& value) { ipConfig_ = value; }
  Mav::Ptr<Ip::Status const> const& ipStatus() const { return ipStatus_; }
  void ipStatusIs(Mav::Ptr<Ip::Status const> const& value) { ipStatus_ = value; }
  Mav::Ptr<Ip6::Config const> const& ip6Config() const { return ip6Config_; }
  void ip6ConfigIs(Mav::Ptr<Ip6::Config const> const& value) { ip6Config_ = value; }
  Mav::Ptr<Ip6::Status const> const& ip6Status() const { return ip6Status_; }
  void ip6StatusIs(Mav::Ptr<Ip6::Status const> const& value) { ip6Status_ = value; }
  Mav::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir() const {
    return intfStatusDir_;
  }
  void intfStatusDirIs(Mav::Ptr<Interface::AllIntfStatusDir const> const& value) {
    intfStatusDir_ = value;
  }
  Mav::Ptr<Arp::NeighborDir const> const& arpStatus() const { return arpStatus_; }
  void arpStatusIs(Mav::Ptr<Arp::NeighborDir const> const& value) { arpStatus_ = value; }
  // The caches, which the state machines write.
  Mav::Ptr<IpMib> const& ipMib() const { return ipMib_; }
  void ipMibIs(Mav::Ptr<IpMib> const& value) { ipMib_ = value; }
  Mav::Ptr<IpForwardMib> const& ipForwardMib() const { return ipForwardMib_; }
  void ipForwardMibIs(Mav::Ptr<IpForwardMib> const& value) { ipForwardMib_ = value; }

  Mav::Ptr<IpAddressTableSm> const& ipAddressTableSm() const { return ipAddressTableSm_; }
  /// Creates the state machine. One that exists is kept when it was created with the same
  /// arguments; Mav::NameInUseException otherwise.
  Mav::Ptr<IpAddressTableSm> ipAddressTableSmIs(
      Mav::Ptr<Mav::ActivityConfig> const& activityConfig,
      Mav::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir,
      Mav::Ptr<IpMib> const& ipMib, Mav::Ptr<Ip::Config const> const& ipConfig,
      Mav::Ptr<Ip::Status const> const& ipStatus, Mav::Ptr<Ip6::Config const> const& ip6Config,
      Mav::Ptr<Ip6::Status const> const& ip6Status);
  /// No effect when there is none.
  void ipAddressTableSmDel() { ipAddressTableSm_.reset(); }

  Mav::Ptr<ArpTableSm> const& arpTableSm() const { return arpTableSm_; }
  /// As ipAddressTableSmIs.
  Mav::Ptr<ArpTableSm> arpTableSmIs(
      Mav::Ptr<Mav::ActivityConfig> const& activityConfig,
      Mav::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir,
      Mav::Ptr<IpMib> const& ipMib, Mav::Ptr<Arp::NeighborDir const> const& arpStatus);
  // None of these deletions takes rows from a cache: what was filed is served on.
  void arpTableSmDel() { arpTableSm_.reset(); }

  Mav::Ptr<IpRouteTableSm> const& ipRouteTableSm() const { return ipRouteTableSm_; }
  /// As ipAddressTableSmIs. Its first rows are there after a pass or more of the clock: not when
  /// this returns.
  Mav::Ptr<IpRouteTableSm> ipRouteTableSmIs(
      Mav::Ptr<Mav::ActivityConfig> const& activityConfig,
      Mav::Ptr<IpForwardMib> const& ipForwardMib,
      Mav::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir,
      Mav::Ptr<Pondo::Fib::RouteStatus const> const& routeStatus,
      Mav::Ptr<Pondo::Fib::ForwardingStatus const> const& forwardingStatus,
      Mav::Ptr<Mav::Clock const> const& clock);
  void ipRouteTableSmDel() { ipRouteTableSm_.reset(); }

  Mav::Ptr<Ip6RouteTableSm> const& ip6RouteTableSm() const { return ip6RouteTableSm_; }
  /// As ipAddressTableSmIs. It asks for no interface status: a via of an IPv6 route has its ifIndex
  /// with it.
  Mav::Ptr<Ip6RouteTableSm> ip6RouteTableSmIs(
      Mav::Ptr<Mav::ActivityConfig> const& activityConfig,
      Mav::Ptr<IpForwardMib> const& ipForwardMib,
      Mav::Ptr<Pondo::Fib::Route6Status const> const& routeStatus,
      Mav::Ptr<Pondo::Fib::ForwardingStatus const> const& forwardingStatus,
      Mav::Ptr<Mav::Clock const> const& clock);
  void ip6RouteTableSmDel() { ip6RouteTableSm_.reset(); }

  std::span<std::string_view const> attributeNames() const override;

 private:
  // In the order of the attributes' numbers, but for the last, which has none.
  Mav::Ptr<Ip::Config const> ipConfig_;
  Mav::Ptr<Ip::Status const> ipStatus_;
  Mav::Ptr<Ip6::Config const> ip6Config_;
  Mav::Ptr<Ip6::Status const> ip6Status_;
  Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir_;
  Mav::Ptr<Arp::NeighborDir const> arpStatus_;
  Mav::Ptr<IpMib> ipMib_;
  Mav::Ptr<IpAddressTableSm> ipAddressTableSm_;
  Mav::Ptr<ArpTableSm> arpTableSm_;
  Mav::Ptr<IpForwardMib> ipForwardMib_;
  Mav::Ptr<IpRouteTableSm> ipRouteTableSm_;
  Mav::Ptr<Ip6RouteTableSm> ip6RouteTableSm_;
};

/// A new Root, which has every attribute null. RootIs is the object model's form of the same.
Mav::Ptr<Root> RootIs(Mav::Name name);
Mav::Ptr<Root> rootFactory(Mav::Name name);

}  // namespace IpSnmp
