#include "model/ip_address_entry.h"

#include <algorithm>

#include <fmt/format.h>

namespace IpSnmp {

void IpAddressEntry::intfIs(IntfData data) {
  // A copy: key() refers into `data`, which is moved from before put() looks at the key.
  auto const key = data.key();
  intf_.put(key, std::move(data));
}

IpAddressEntry::IntfIteratorConst IpAddressEntry::master() const {
  auto first = intf_.first();
  if (!first) throw Mav::RangeException("null ValidPtr");
  return first;
}

std::uint32_t IpAddressEntry::ifIndex() const {
  // The ifIndex is that of the prefix row: an address and the prefix that it points to name one
  // link.
  auto const prefix = prefixEntry();
  return prefix ? prefix->key().ifIndex() : 0;
}

AddressStatus IpAddressEntry::addressStatus() const {
  // A presence in operation comes before a configured one. Where a configured one is first, no link
  // that is up has the address.
  return master().key().source() == addressSourceConfig ? addressStatusInaccessible
                                                        : addressStatusPreferred;
}

Mav::Ptr<IpAddressPrefixEntry const> IpAddressEntry::prefixEntry() const {
  return master().value().prefixEntry();
}

Dovel::IpAddr IpAddressEntry::ipAdEntAddr() const {
  Dovel::IpAddr::Octets octets{};
  auto const& bytes = key_.bytes();
  if (bytes.size() < octets.size()) {
    throw Mav::RangeException(
        fmt::format("an address of {} octets has no IPv4 address", bytes.size()));
  }
  std::copy_n(bytes.begin(), octets.size(), octets.begin());
  return Dovel::IpAddr(octets);
}

}  // namespace IpSnmp
