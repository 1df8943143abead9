#pragma once
// What the handlers of IP-MIB's tables serve, mounted at "snmp/ip/ipmib". The state machines are
// its only writers; handlers read it, walking the collections in key order, which is the order of
// the SNMP instances. All on the agent's thread.
//
// collection.h has the names that each collection brings. Entries that are made by key are made
// once: the Is functions give the one that exists, and raise Mav::NameInUseException, changing
// nothing, when it was made with other parameters.

#include "model/arp_table_entry.h"
#include "model/collection.h"
#include "model/ip_addr_entry.h"
#include "model/ip_address_entry.h"
#include "model/ip_address_prefix_entry.h"
#include "platform/mav/hash_map.h"
#include "stats/sw_fwd_stats.h"

namespace IpSnmp {

class IpMib : public Mav::Entity {
 public:
  static constexpr std::string_view path = "snmp/ip/ipmib";

  /// With a key: one entry came or went (a prefix: or another took its place). Without: the
  /// collection changed as a whole.
  class NotifieeConst : public Mav::Notifiee<IpMib const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    virtual void onIpAddressTable(InetAddress const& /*key*/) {}
    virtual void onIpAddressTable() {}
    virtual void onIpAddressPrefixTable(IpAddressPrefixKey const& /*key*/) {}
    virtual void onIpAddressPrefixTable() {}
    virtual void onIpAddrTable(Dovel::IpAddr const& /*key*/) {}
    virtual void onIpAddrTable() {}
    virtual void onArpTable(ArpTableIndex const& /*key*/) {}
    virtual void onArpTable() {}
    virtual void onIpSwFwdStats(Ip::IpVersion const& /*key*/) {}
    virtual void onIpSwFwdStats() {}
    virtual void onIsNondestructing() {}
  };

  /// Without rows; ipMibFactory makes the one that is served.
  explicit IpMib(Mav::Name name) : Entity(std::move(name)) {}

  Mav::Ptr<IpAddressEntry> ipAddressTableIs(InetAddress const& key);
  /// Files the entry under its own key, in the place of another one that has it. RangeException
  /// when it is null.
  void ipAddressPrefixTableIs(Mav::Ptr<IpAddressPrefixEntry const> const& entry);
  /// The key is the master entry's address. RangeException when it is null.
  Mav::Ptr<IpAddrEntry> ipAddrTableIs(Mav::Ptr<IpAddressEntry const> const& masterEntry);
  Mav::Ptr<ArpTableEntry> arpTableIs(ArpTableIndex const& key,
                                     Mav::Ptr<Arp::ArpIntfStatus const> const& arpIntfStatus);
  Mav::Ptr<Ip::SwFwdStats> ipSwFwdStatsIs(Ip::IpVersion version);

  std::string_view typeName() const override { return "IpSnmp::IpMib"; }
  Mav::AttributeTable const& attributeTable() const override;
  void addNotifiee(NotifieeConst* notifiee) const { notifiees_.add(notifiee); }
  void removeNotifiee(NotifieeConst* notifiee) const { notifiees_.remove(notifiee); }

 protected:
  void notifyIsNondestructing() override;

 private:
  mutable Mav::NotifieeList<NotifieeConst> notifiees_;

  // clang-format off
  IP_SNMP_COLLECTION(ipAddressTable, IpAddressTable, 0, OrderedByKey<InetAddress, IpAddressEntry>);
  IP_SNMP_COLLECTION(ipAddressPrefixTable, IpAddressPrefixTable, 1, OrderedByKey<IpAddressPrefixKey, IpAddressPrefixEntry const>);
  IP_SNMP_COLLECTION(ipAddrTable, IpAddrTable, 2, OrderedByKey<Dovel::IpAddr, IpAddrEntry>);
  IP_SNMP_COLLECTION(arpTable, ArpTable, 3, OrderedByKey<ArpTableIndex, ArpTableEntry>);
  IP_SNMP_COLLECTION(ipSwFwdStats, IpSwFwdStats, 4, Mav::HashMap<Ip::IpVersion, Mav::Ptr<Ip::SwFwdStats>>);
  // clang-format on
};

/// With the statistics rows of both IP versions.
Mav::Ptr<IpMib> ipMibFactory(Mav::Name name);

}  // namespace IpSnmp
