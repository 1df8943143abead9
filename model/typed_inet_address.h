#pragma once
// An InetAddress together with its InetAddressType (RFC 4001), which its number of octets tells:
// unknown(0) has none, ipv4(1) four, ipv6(2) sixteen, ipv6z(4) these and the four of the zone, the
// ifIndex of a link (RFC 4007). Ordered as an index that has both, one behind the other. Octets
// alone: a million of them are made in a walk.
//
// So a type and octets that do not go together cannot be held: what an instance names must pass the
// constructor that takes both. ipv4z(3) and dns(16) do not occur.

#include <algorithm>
#include <array>
#include <compare>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>

#include "platform/dovel/ip6_addr.h"
#include "platform/dovel/ip_addr.h"

namespace IpSnmp {

class TypedInetAddress {
 public:
  // An address of 16 octets and a zone of four.
  static constexpr std::size_t sizeMax = 20;

  /// unknown(0), without octets.
  constexpr TypedInetAddress() = default;
  /// ipv4(1).
  explicit TypedInetAddress(Dovel::IpAddr const& address) { append(address.octets()); }
  /// ipv6z with a zone other than 0.
  TypedInetAddress(Dovel::Ip6Addr const& address, std::uint32_t zone) {
    append(address.octets());
    if (zone == 0) return;
    append(std::array{static_cast<std::uint8_t>(zone >> 24U),
                      static_cast<std::uint8_t>(zone >> 16U), static_cast<std::uint8_t>(zone >> 8U),
                      static_cast<std::uint8_t>(zone)});
  }
  /// As an index has both. RangeException when that type has another number of octets, or is none
  /// of the four.
  TypedInetAddress(std::uint32_t type, std::span<std::uint8_t const> octets);

  /// InetAddressType. The numbers of octets order as the types do: 0, 4, 16, 20.
  std::uint32_t type() const {
    if (size_ == 0) return 0;
    return size_ == 4 ? 1 : size_ == 16 ? 2 : 4;
  }
  /// First octet first, the zone behind the address; valid as long as this.
  std::span<std::uint8_t const> octets() const { return {octets_.data(), size_}; }

  /// "2001:db8::1", "fe80::1%3"; of unknown(0) nothing.
  /// For traces alone.
  std::string stringValue() const;
  friend std::ostream& operator<<(std::ostream& out, TypedInetAddress const& address) {
    return out << address.stringValue();
  }

  bool operator==(TypedInetAddress const&) const = default;
  std::strong_ordering operator<=>(TypedInetAddress const&) const = default;

 private:
  // Behind those that are there; 20 at most, which the constructors see to.
  void append(std::span<std::uint8_t const> octets) {
    std::copy(octets.begin(), octets.end(), octets_.begin() + size_);
    size_ = static_cast<std::uint8_t>(size_ + octets.size());
  }

  std::uint8_t size_ = 0;  // first: it decides the order
  // Zero beyond the size: the defaulted comparison looks at all of them.
  std::array<std::uint8_t, sizeMax> octets_{};
};

}  // namespace IpSnmp
