#include "model/ip_mib.h"

#include <array>

#include "platform/mav/constructor_parameter.h"

namespace IpSnmp {

Mav::Ptr<IpAddressEntry> IpMib::ipAddressTableIs(InetAddress const& key) {
  // A key is all that a row is made of: one that is there is always the same.
  return ipAddressTable_.is(key, [&] { return Mav::makeObject<IpAddressEntry>(key); });
}

void IpMib::ipAddressPrefixTableIs(Mav::Ptr<IpAddressPrefixEntry const> const& entry) {
  if (!entry) {
    // The text ends with a quotation mark, and begins with none: whoever matches it expects it so.
    throw Mav::RangeException(
        "null _ipAddressPrefixTable parameter to mutator for "
        "IpSnmp::IpMib::ipAddressPrefixTable not allowed\"");
  }
  ipAddressPrefixTable_.put(entry->key(), entry);
}

Mav::Ptr<IpAddrEntry> IpMib::ipAddrTableIs(Mav::Ptr<IpAddressEntry const> const& masterEntry) {
  return ipAddrTable_.is(
      // Also where the entry has no interface yet: the address is in its key.
      Mav::validPtr(masterEntry)->ipAdEntAddr(),
      [&] { return Mav::makeObject<IpAddrEntry>(masterEntry); },
      [&](IpAddrEntry const& existing) {
        Mav::checkConstructorParameter("_masterEntry", masterEntry, existing.masterEntry());
      });
}

Mav::Ptr<ArpTableEntry> IpMib::arpTableIs(ArpTableIndex const& key,
                                          Mav::Ptr<Arp::ArpIntfStatus const> const& arpIntfStatus) {
  return arpTable_.is(
      key, [&] { return Mav::makeObject<ArpTableEntry>(key, arpIntfStatus); },
      [&](ArpTableEntry const& existing) {
        Mav::checkConstructorParameter("_arpIntfStatus", arpIntfStatus, existing.arpIntfStatus());
      });
}

Mav::Ptr<Ip::SwFwdStats> IpMib::ipSwFwdStatsIs(Ip::IpVersion version) {
  return ipSwFwdStats_.is(version, [&] { return Ip::swFwdStatsFactory(version); });
}

std::span<std::string_view const> IpMib::attributeNames() const {
  // In the order of the attribute numbers in the header.
  static constexpr std::array<std::string_view, 6> names{"ipAddressTable", "ipAddressPrefixTable",
                                                         "ipAddrTable",    "arpTable",
                                                         "ipSwFwdStats",   "ipNetToPhysicalTable"};
  return names;
}

Mav::Ptr<IpMib> ipMibFactory(Mav::Name name) {
  auto ipMib = Mav::makeObject<IpMib>(std::move(name));
  // Nothing is read for that: a row reads the kernel's files when a manager asks.
  for (auto version : {Ip::ipVersion4, Ip::ipVersion6}) ipMib->ipSwFwdStatsIs(version);
  return ipMib;
}

}  // namespace IpSnmp
