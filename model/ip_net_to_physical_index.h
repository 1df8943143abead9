#pragma once
// A neighbour of either version of IP on an interface: the key of ipNetToPhysicalTable, ordered as
// its instances (RFC 4293). A link-local address has its interface for its zone.
//
// The zone of a link-local address repeats the ifIndex that the index begins with: InetAddressType
// ipv6z asks for it (RFC 4001), and a manager may read the address apart from the row.

#include <compare>
#include <cstdint>
#include <ostream>
#include <string_view>

#include "model/typed_inet_address.h"

namespace IpSnmp {

class IpNetToPhysicalIndex {
 public:
  IpNetToPhysicalIndex() = default;
  /// Of a row that is there.
  IpNetToPhysicalIndex(std::uint32_t ifIndex, TypedInetAddress const& netAddress)
      : ifIndex_(ifIndex), netAddress_(netAddress) {}
  /// As an instance has it. RangeException when no address is of that type.
  template <class Octets>
  IpNetToPhysicalIndex(std::uint32_t ifIndex, std::uint32_t type, Octets const& octets)
      : IpNetToPhysicalIndex(ifIndex, TypedInetAddress(type, {octets.data(), octets.size()})) {}

  std::uint32_t ifIndex() const { return ifIndex_; }
  /// Of type ipv6z(4) where it is link-local.
  TypedInetAddress const& netAddress() const { return netAddress_; }

  // The interface, then the type of address and its octets. The shared table has its keys in that
  // order as well: a comparison goes along both.
  bool operator==(IpNetToPhysicalIndex const&) const = default;
  std::strong_ordering operator<=>(IpNetToPhysicalIndex const&) const = default;

  /// "192.0.2.1 on 3"
  friend std::ostream& operator<<(std::ostream& out, IpNetToPhysicalIndex const& key) {
    return out << key.netAddress_ << " on " << key.ifIndex_;
  }
  static constexpr std::string_view typeName() { return "IpSnmp::IpNetToPhysicalIndex"; }

 private:
  std::uint32_t ifIndex_ = 0;
  TypedInetAddress netAddress_;
};

}  // namespace IpSnmp
