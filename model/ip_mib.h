#pragma once
// What the handlers of IP-MIB's tables serve, mounted at "snmp/ip/ipmib". The state machines are
// its only writers; handlers read it, walking the collections in key order, which is the order of
// the SNMP instances. All on the agent's thread.
//
// A collection x has x(key), the entry or null; xIterator(), on the first entry; xMap() for the
// other ways to look; xDel(key), without effect when there is no such entry, and xDelAll(), one by
// one. Entries that are made by key are made once: xIs gives the one that exists, and raises
// Mav::NameInUseException, changing nothing, when it was made with other parameters. Every entry
// that comes or goes is announced.

#include "model/arp_table_entry.h"
#include "model/ip_addr_entry.h"
#include "model/ip_address_entry.h"
#include "model/ip_address_prefix_entry.h"
#include "model/ip_net_to_physical_index.h"
#include "model/ip_net_to_physical_row.h"
#include "platform/mav/announced_map.h"
#include "stats/sw_fwd_stats.h"

namespace IpSnmp {

class IpMib : public Mav::Entity {
 public:
  static constexpr std::string_view path = "snmp/ip/ipmib";

  // The places in attributeNames(), by which a notification is told.
  static constexpr Mav::AttributeId ipAddressTableAttributeId = Mav::firstAttributeId;
  static constexpr Mav::AttributeId ipAddressPrefixTableAttributeId = Mav::firstAttributeId + 1;
  static constexpr Mav::AttributeId ipAddrTableAttributeId = Mav::firstAttributeId + 2;
  static constexpr Mav::AttributeId arpTableAttributeId = Mav::firstAttributeId + 3;
  static constexpr Mav::AttributeId ipSwFwdStatsAttributeId = Mav::firstAttributeId + 4;
  static constexpr Mav::AttributeId ipNetToPhysicalTableAttributeId = Mav::firstAttributeId + 5;

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
    virtual void onIpNetToPhysicalTable(IpNetToPhysicalIndex const& /*key*/) {}
    virtual void onIpNetToPhysicalTable() {}
  };

  /// Without rows; ipMibFactory makes the one that is served.
  explicit IpMib(Mav::Name name) : Entity(std::move(name)) {}

  // ipAddressTable (RFC 4293): the addresses of both versions. What changes within an entry, as
  // when another interface becomes the first that has the address, is not announced.
  using IpAddressTableMap = Mav::OrderedMap<InetAddress, Mav::Ptr<IpAddressEntry>>;
  using IpAddressTableIteratorConst = IpAddressTableMap::IteratorConst;
  IpAddressTableMap const& ipAddressTableMap() const { return ipAddressTable_.map(); }
  auto ipAddressTable(InetAddress const& key) const {
    return asConst(ipAddressTable_.map().get(key));
  }
  auto ipAddressTable(InetAddress const& key) { return ipAddressTable_.map().get(key); }
  auto ipAddressTableIterator() const { return ipAddressTable_.map().first(); }
  // Of a cache that is not const: entries that can be changed, which is not announced.
  auto ipAddressTableIterator() { return ipAddressTable_.map().first(); }
  /// A new row has no presence yet, and cannot be read (ip_address_entry.h): whoever makes it files
  /// one in the same notification.
  Mav::Ptr<IpAddressEntry> ipAddressTableIs(InetAddress const& key);
  /// The row alone: prefix rows, and the row of ipAddrTable, are the caller's to delete.
  void ipAddressTableDel(InetAddress const& key) { ipAddressTable_.del(key); }
  void ipAddressTableDelAll() { ipAddressTable_.delAll(); }

  // ipAddressPrefixTable (RFC 4293): exactly the prefixes that the rows of ipAddressTable point to.
  using IpAddressPrefixTableMap =
      Mav::OrderedMap<IpAddressPrefixKey, Mav::Ptr<IpAddressPrefixEntry const>>;
  using IpAddressPrefixTableIteratorConst = IpAddressPrefixTableMap::IteratorConst;
  IpAddressPrefixTableMap const& ipAddressPrefixTableMap() const {
    return ipAddressPrefixTable_.map();
  }
  auto ipAddressPrefixTable(IpAddressPrefixKey const& key) const {
    return ipAddressPrefixTable_.map().get(key);
  }
  auto ipAddressPrefixTableIterator() const { return ipAddressPrefixTable_.map().first(); }
  /// Files the entry under its own key, in the place of another one that has it. RangeException
  /// when it is null. The one that was there lives on where an address still holds it.
  void ipAddressPrefixTableIs(Mav::Ptr<IpAddressPrefixEntry const> const& entry);
  /// By key, whichever entry stands there: who withdraws one of its own compares it first.
  void ipAddressPrefixTableDel(IpAddressPrefixKey const& key) { ipAddressPrefixTable_.del(key); }
  void ipAddressPrefixTableDelAll() { ipAddressPrefixTable_.delAll(); }

  // ipAddrTable (RFC 4293, deprecated there): the IPv4 rows of ipAddressTable once more.
  using IpAddrTableMap = Mav::OrderedMap<Dovel::IpAddr, Mav::Ptr<IpAddrEntry>>;
  using IpAddrTableIteratorConst = IpAddrTableMap::IteratorConst;
  IpAddrTableMap const& ipAddrTableMap() const { return ipAddrTable_.map(); }
  auto ipAddrTable(Dovel::IpAddr const& key) const { return asConst(ipAddrTable_.map().get(key)); }
  auto ipAddrTable(Dovel::IpAddr const& key) { return ipAddrTable_.map().get(key); }
  auto ipAddrTableIterator() const { return ipAddrTable_.map().first(); }
  auto ipAddrTableIterator() { return ipAddrTable_.map().first(); }
  /// The key is the master entry's address. RangeException when it is null. NameInUseException when
  /// another entry of the same address has the row.
  Mav::Ptr<IpAddrEntry> ipAddrTableIs(Mav::Ptr<IpAddressEntry const> const& masterEntry);
  /// The row alone; the one of ipAddressTable through which it was read stays.
  void ipAddrTableDel(Dovel::IpAddr const& key) { ipAddrTable_.del(key); }
  void ipAddrTableDelAll() { ipAddrTable_.delAll(); }

  // ipNetToMediaTable (RFC 4293, deprecated there): IPv4 neighbours with an Ethernet address.
  using ArpTableMap = Mav::OrderedMap<ArpTableIndex, Mav::Ptr<ArpTableEntry>>;
  using ArpTableIteratorConst = ArpTableMap::IteratorConst;
  ArpTableMap const& arpTableMap() const { return arpTable_.map(); }
  auto arpTable(ArpTableIndex const& key) const { return asConst(arpTable_.map().get(key)); }
  auto arpTable(ArpTableIndex const& key) { return arpTable_.map().get(key); }
  auto arpTableIterator() const { return arpTable_.map().first(); }
  auto arpTableIterator() { return arpTable_.map().first(); }
  /// The row of a neighbour of that interface; what it tells of the neighbour it reads there.
  Mav::Ptr<ArpTableEntry> arpTableIs(ArpTableIndex const& key,
                                     Mav::Ptr<Arp::ArpIntfStatus const> const& arpIntfStatus);
  /// The ARP status goes with its last row, where nobody else holds it.
  void arpTableDel(ArpTableIndex const& key) { arpTable_.del(key); }
  void arpTableDelAll() { arpTable_.delAll(); }

  // brivetSwFwdIpStatsTable: two rows from the start on, of which a kernel without IPv6 leaves one
  // at 0.
  using IpSwFwdStatsMap = Mav::OrderedMap<Ip::IpVersion, Mav::Ptr<Ip::SwFwdStats>>;
  using IpSwFwdStatsIteratorConst = IpSwFwdStatsMap::IteratorConst;
  IpSwFwdStatsMap const& ipSwFwdStatsMap() const { return ipSwFwdStats_.map(); }
  auto ipSwFwdStats(Ip::IpVersion version) const {
    return asConst(ipSwFwdStats_.map().get(version));
  }
  auto ipSwFwdStats(Ip::IpVersion version) { return ipSwFwdStats_.map().get(version); }
  auto ipSwFwdStatsIterator() const { return ipSwFwdStats_.map().first(); }
  auto ipSwFwdStatsIterator() { return ipSwFwdStats_.map().first(); }
  /// Of the version alone; its counters are read when they are asked for.
  Mav::Ptr<Ip::SwFwdStats> ipSwFwdStatsIs(Ip::IpVersion version);
  void ipSwFwdStatsDel(Ip::IpVersion version) { ipSwFwdStats_.del(version); }
  void ipSwFwdStatsDelAll() { ipSwFwdStats_.delAll(); }

  // ipNetToPhysicalTable (RFC 4293): by value, and with only what its one writer needs.
  using IpNetToPhysicalTableMap = Mav::OrderedMap<IpNetToPhysicalIndex, IpNetToPhysicalRow>;
  using IpNetToPhysicalTableIteratorConst = IpNetToPhysicalTableMap::IteratorConst;
  IpNetToPhysicalTableMap const& ipNetToPhysicalTableMap() const {
    return ipNetToPhysicalTable_.map();
  }
  /// Files the row, in the place of one that differs. One that is the same is not announced: a
  /// neighbour may be told again and again.
  void ipNetToPhysicalTableIs(IpNetToPhysicalIndex const& key, IpNetToPhysicalRow const& row) {
    ipNetToPhysicalTable_.put(key, row);
  }
  /// No effect when there is none.
  void ipNetToPhysicalTableDel(IpNetToPhysicalIndex const& key) { ipNetToPhysicalTable_.del(key); }

  std::span<std::string_view const> attributeNames() const override;

 private:
  // Who has the cache const gets its entries const.
  template <class Entry>
  static Mav::Ptr<Entry const> asConst(Mav::Ptr<Entry> entry) {
    return entry;
  }

  // No collection knows of another: what has to hold between them (addresses and their prefixes,
  // the two tables of IPv4 addresses) is the state machine's to keep.
  Mav::AnnouncedMap<IpAddressTableMap, NotifieeConst, ipAddressTableAttributeId,
                    &NotifieeConst::onIpAddressTable>
      ipAddressTable_{*this};
  Mav::AnnouncedMap<IpAddressPrefixTableMap, NotifieeConst, ipAddressPrefixTableAttributeId,
                    &NotifieeConst::onIpAddressPrefixTable>
      ipAddressPrefixTable_{*this};
  Mav::AnnouncedMap<IpAddrTableMap, NotifieeConst, ipAddrTableAttributeId,
                    &NotifieeConst::onIpAddrTable>
      ipAddrTable_{*this};
  Mav::AnnouncedMap<ArpTableMap, NotifieeConst, arpTableAttributeId, &NotifieeConst::onArpTable>
      arpTable_{*this};
  Mav::AnnouncedMap<IpSwFwdStatsMap, NotifieeConst, ipSwFwdStatsAttributeId,
                    &NotifieeConst::onIpSwFwdStats>
      ipSwFwdStats_{*this};
  Mav::AnnouncedMap<IpNetToPhysicalTableMap, NotifieeConst, ipNetToPhysicalTableAttributeId,
                    &NotifieeConst::onIpNetToPhysicalTable>
      ipNetToPhysicalTable_{*this};
};

/// With the statistics rows of both IP versions.
Mav::Ptr<IpMib> ipMibFactory(Mav::Name name);

}  // namespace IpSnmp
