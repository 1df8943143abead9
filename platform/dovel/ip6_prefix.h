#pragma once
// An IPv6 prefix: the destination of a route. Its host bits are zero, so that equal prefixes are
// equal values.
//
// A prefix within fe80::/10 means nothing without its link (RFC 4007): it has a zone, the ifIndex
// of that link, and fe80::/64 of ten links are ten prefixes. No other prefix has one.
//
// The order is that of SNMP instances: those without a zone first (InetAddressType ipv6(2) before
// ipv6z(4)), then by address, zone and length (RFC 4001: the zone is the end of the address).

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/dovel/ip6_addr.h"
#include "platform/mav/text_value.h"

namespace Dovel {

class Ip6Prefix : public Mav::TextValue<Ip6Prefix> {
 public:
  /// ::/0
  constexpr Ip6Prefix() = default;
  /// RangeException when `length` is above 128, host bits are set, or the zone is missing or too
  /// much ("prefix fe80::/64 needs a zone", "prefix 2001:db8::/32 has no zone").
  Ip6Prefix(Ip6Addr const& address, unsigned length, std::uint32_t zone = 0);
  /// Reads "ADDRESS/LENGTH", or "ADDRESS/LENGTH%ZONE" with the zone as a number; the same checks.
  explicit Ip6Prefix(std::string_view text);

  /// Whether prefixes of this address and length have a zone. fe80::/9 and shorter ones reach
  /// beyond fe80::/10, and have none.
  static constexpr bool isZoned(Ip6Addr const& address, unsigned length) {
    return length >= linkLocalLength && address.isLinkLocal();
  }

  constexpr Ip6Addr const& address() const { return address_; }
  /// In bits.
  constexpr unsigned length() const { return length_; }
  /// The link's ifIndex; 0: none.
  constexpr std::uint32_t zone() const { return zone_; }
  std::string stringValue() const;

  friend constexpr bool operator==(Ip6Prefix const& a, Ip6Prefix const& b) {
    return a.address_ == b.address_ && a.zone_ == b.zone_ && a.length_ == b.length_;
  }
  friend constexpr std::strong_ordering operator<=>(Ip6Prefix const& a, Ip6Prefix const& b) {
    // As in the keys of the shared tables (Pondo::routeKeyBytes): a table's scan is in this order.
    if (auto const order = (a.zone_ != 0) <=> (b.zone_ != 0); order != 0) return order;
    if (auto const order = a.address_ <=> b.address_; order != 0) return order;
    if (auto const order = a.zone_ <=> b.zone_; order != 0) return order;
    return a.length_ <=> b.length_;
  }

  template <class H>
  friend H AbslHashValue(H h, Ip6Prefix const& prefix) {
    return H::combine(std::move(h), prefix.address_, prefix.zone_, prefix.length_);
  }

 private:
  static constexpr unsigned linkLocalLength = 10;  // of fe80::/10

  /// Throws what the constructor promises.
  void check() const;

  Ip6Addr address_;
  std::uint32_t zone_ = 0;
  std::uint8_t length_ = 0;
};

}  // namespace Dovel
