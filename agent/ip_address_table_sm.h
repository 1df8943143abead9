#pragma once
// Keeps ipAddrTable (IPv4 alone), ipAddressTable and ipAddressPrefixTable of IpMib in step with the
// addresses of the interfaces, configured and in operation.
//
//   Ip::Config  ──► MavConfig  ──► MavIpIntfConfig  ──┬─► doAddAddr, doDelAddr ───► IpMib
//   Ip::Status  ──► MavStatus  ──► MavIpIntfStatus  ──┘
//   Ip6::Config ──► MavConfig6 ──► MavIp6IntfConfig ──┬─► doAddAddr6, doDelAddr6 ──► IpMib
//   Ip6::Status ──► MavStatus6 ──► MavIp6IntfStatus ──┘
//
// A reactor of each interface and side (ip_intf_reactor.h, ip6_intf_reactor.h) tells of one address
// at a time; the do functions file it. An address that several interfaces or both sides have is one
// IpAddressEntry with one IntfData for each. The smallest IntfDataKey is the master: its prefix
// entry is the one that is in ipAddressPrefixTable; the others wait in their IntfData. No state of
// its own: all of it is in IpMib.
//
// What looks odd and is meant so:
// - Prefix rows are withdrawn by identity. One that is there under an equal key, but was brought by
//   another address, stays.
// - Adding again under the master's own key leaves the prefix row as it is. The IPv4 reactors
//   withdraw before they add; the IPv6 reactors do not, so that the row stays behind when the
//   address goes later. Whoever fills the entities announces an address once.
//
// Works within the notification that caused it: no timer, no batch. All on the agent's thread.
// From inside a notification of IpMib, neither the inputs nor the state machine may be changed.

#include <cstdint>
#include <memory>

#include "agent/reactor.h"
#include "agent/reactor_set.h"
#include "model/ip_mib.h"
#include "platform/mav/activity.h"
#include "platform/state/entities/ip6_addresses.h"
#include "platform/state/entities/ip_addresses.h"

namespace IpSnmp {

class IpAddressTableSm : public Mav::Object {
 public:
  using MavIntfStatusDir = IntfStatusDirReactor<IpAddressTableSm>;
  class MavIpMib;
  class MavConfig;
  class MavStatus;
  class MavConfig6;
  class MavStatus6;
  class MavIpIntfConfig;
  class MavIpIntfStatus;
  class MavIp6IntfConfig;
  class MavIp6IntfStatus;

  /// Connects the reactors, which file what the entities hold. An input that is null is not
  /// watched; without `ipMib` no address can be filed (RangeException "null ValidPtr").
  IpAddressTableSm(Mav::Ptr<Mav::ActivityConfig> activityConfig,
                   Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir, Mav::Ptr<IpMib> ipMib,
                   Mav::Ptr<Ip::Config const> config, Mav::Ptr<Ip::Status const> status,
                   Mav::Ptr<Ip6::Config const> config6, Mav::Ptr<Ip6::Status const> status6);
  /// Disconnects the reactors. What was filed stays in IpMib.
  ~IpAddressTableSm() override;

  Mav::Ptr<Mav::ActivityConfig> const& activityConfig() const { return activityConfig_; }
  Mav::Ptr<IpMib> const& ipMib() const { return ipMib_; }
  Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir() const;
  Mav::Ptr<Ip::Config const> config() const;
  Mav::Ptr<Ip::Status const> status() const;
  Mav::Ptr<Ip6::Config const> config6() const;
  Mav::Ptr<Ip6::Status const> status6() const;

  /// An input is taken away: the reactors that watch it, or what hangs on it, go. What was filed
  /// stays.
  void intfStatusDirDel();
  void ipMibDel();
  void configDel();
  void statusDel();
  void config6Del();
  void status6Del();

  /// Null when the interface has none, or there is no directory.
  Mav::Ptr<Interface::IntfStatus const> intfStatus(Dovel::IntfId const& intf) const;

  /// The reactors of the interfaces. Is: creates the one of an entity, unless it is there. Del: the
  /// interface's reactor withdraws what it filed, and goes. DelAll: all go, what they filed stays.
  Mav::Ptr<MavIpIntfConfig> ipIntfConfig(Dovel::IntfId const& intf) const;
  void ipIntfConfigIs(Mav::Ptr<Ip::IpIntfConfig const> const& entity);
  void ipIntfConfigDel(Dovel::IntfId const& intf);
  void ipIntfConfigDelAll();
  Mav::Ptr<MavIpIntfStatus> ipIntfStatus(Dovel::IntfId const& intf) const;
  void ipIntfStatusIs(Mav::Ptr<Ip::IpIntfStatus const> const& entity);
  void ipIntfStatusDel(Dovel::IntfId const& intf);
  void ipIntfStatusDelAll();
  Mav::Ptr<MavIp6IntfConfig> ip6IntfConfig(Dovel::IntfId const& intf) const;
  void ip6IntfConfigIs(Mav::Ptr<Ip6::IntfConfig const> const& entity);
  void ip6IntfConfigDel(Dovel::IntfId const& intf);
  void ip6IntfConfigDelAll();
  Mav::Ptr<MavIp6IntfStatus> ip6IntfStatus(Dovel::IntfId const& intf) const;
  void ip6IntfStatusIs(Mav::Ptr<Ip6::IntfStatus const> const& entity);
  void ip6IntfStatusDel(Dovel::IntfId const& intf);
  void ip6IntfStatusDelAll();

  /// The interface's status came or went: its reactors get it, or none. Configuration before
  /// status: what is in operation is filed last, and becomes the first.
  void handleIntfStatus(Dovel::IntfId intf);

  /// Files an address of an interface. An unspecified address, or an ifIndex below 1, is ignored.
  void doAddAddr(Dovel::IntfId intf, AddressSource source, std::int32_t ifIndex,
                 Dovel::IpAddrWithMask const& address);
  void doAddAddr6(Dovel::IntfId intf, AddressSource source, std::int32_t ifIndex,
                  Dovel::Ip6AddrWithMask const& address);
  /// Withdraws it; the prefix length is not looked at. No effect when it is not there. Where
  /// another interface or side still has the address, its prefix row comes back at once: a request
  /// sees the address without a break.
  void doDelAddr(Dovel::IntfId intf, AddressSource source, Dovel::IpAddrWithMask const& address);
  void doDelAddr6(Dovel::IntfId intf, AddressSource source, Dovel::Ip6AddrWithMask const& address);

 private:
  /// Files what the entity holds, and from now on hears of it. Null: nothing.
  template <class Reactor, class IntfReactor, class Dir>
  void watch(std::unique_ptr<Reactor>& reactor, ReactorSet<IntfReactor>& intfs,
             Mav::Ptr<Dir const> dir);
  /// The entry of the address; null when it is ignored.
  template <class AddrWithMask>
  Mav::Ptr<IpAddressEntry> addToIpAddressTable(IntfDataKey const& key, std::int32_t ifIndex,
                                               AddrWithMask const& address);
  /// Whether the entry of the address went with it. Then its row of ipAddrTable has to go too, in
  /// the same notification.
  bool delFromIpAddressTable(IntfDataKey const& key, InetAddress const& address);

  Mav::Ptr<Mav::ActivityConfig> const activityConfig_;
  Mav::Ptr<IpMib> ipMib_;

  // The destructor lets go of the reactors before any member goes: they call into this.
  ReactorSet<MavIpIntfConfig> ipIntfConfig_;
  ReactorSet<MavIpIntfStatus> ipIntfStatus_;
  ReactorSet<MavIp6IntfConfig> ip6IntfConfig_;
  ReactorSet<MavIp6IntfStatus> ip6IntfStatus_;

  std::unique_ptr<MavIntfStatusDir> mavIntfStatusDir_;
  std::unique_ptr<MavIpMib> mavIpMib_;
  std::unique_ptr<MavConfig> mavConfig_;
  std::unique_ptr<MavStatus> mavStatus_;
  std::unique_ptr<MavConfig6> mavConfig6_;
  std::unique_ptr<MavStatus6> mavStatus6_;
};

}  // namespace IpSnmp
