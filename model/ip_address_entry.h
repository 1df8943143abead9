#pragma once
// One row of ipAddressTable: an address, and the interfaces that have it.
//
// The same address can be on several interfaces, and come from configuration and from status
// apart. What is served is that of the first of them in the order of IntfDataKey, the master:
// status wins over configuration, then the smallest interface identifier. While nothing has the
// address, the readers that need a master raise the range exception "null ValidPtr": the state
// machine deletes such a row. Written by IpAddressTableSm, read by handlers; one thread.

#include "model/inet_address.h"
#include "model/intf_data.h"
#include "platform/mav/ordered_map.h"

namespace IpSnmp {

class IpAddressEntry : public Mav::Counted<IpAddressEntry> {
 public:
  using IntfMap = Mav::OrderedMap<IntfDataKey, IntfData>;
  using IntfIteratorConst = IntfMap::IteratorConst;

  /// Without a presence: not to be served until it has one.
  explicit IpAddressEntry(InetAddress key) : key_(std::move(key)) {}

  InetAddress const& key() const { return key_; }
  Ip::IpVersion addrVersion() const { return key_.version(); }
  Snmp::String const& addrBytes() const { return key_.bytes(); }

  /// An empty IntfData when there is none. Mostly there are one or two: an address in operation is
  /// known from configuration and from status.
  IntfData intf(IntfDataKey const& key) const { return intf_.get(key); }
  IntfIteratorConst intfIterator() const { return intf_.first(); }
  /// Inserts or overwrites. Changes of `intf` are not announced.
  void intfIs(IntfData data);
  /// No effect when there is none.
  void intfDel(IntfDataKey const& key) { intf_.erase(key); }
  /// Prefix rows are not touched: whoever files and withdraws presences keeps those in step.
  void intfDelAll() { intf_.clear(); }

  // What is served. ifIndex(), addressStatus() and prefixEntry() ask the master, and raise
  // RangeException "null ValidPtr" while nothing has the address.

  /// Of the master's prefix; 0 when it has none.
  std::uint32_t ifIndex() const;
  AddressType addressType() const { return addressTypeUnicast; }
  /// Inaccessible while the address is only configured.
  AddressStatus addressStatus() const;
  /// The master's; may be null.
  Mav::Ptr<IpAddressPrefixEntry const> prefixEntry() const;
  /// The first four octets of the address; RangeException when it has fewer.
  Dovel::IpAddr ipAdEntAddr() const;

 private:
  /// The first presence; RangeException "null ValidPtr" without one.
  IntfMap::IteratorConst master() const;

  InetAddress const key_;
  // Ordered, so that the master is the first one.
  IntfMap intf_;
};

}  // namespace IpSnmp
