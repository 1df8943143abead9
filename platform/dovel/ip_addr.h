#pragma once
// An IPv4 address. It is ordered as a number whose first octet is the most significant, which is
// the order of the SNMP instances that it indexes. It is printed and parsed as a dotted quad. A
// text that is none raises a Mav::RangeException.

#include <array>
#include <bit>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/dovel/address_text.h"
#include "platform/mav/text_value.h"

namespace Dovel {

class IpAddr : public Mav::TextValue<IpAddr> {
 public:
  /// The longest prefix.
  static constexpr unsigned bits = 32;
  using Octets = std::array<std::uint8_t, 4>;

  /// 0.0.0.0
  constexpr IpAddr() = default;
  /// Takes a number in host order: 0x0a000001 is 10.0.0.1.
  explicit constexpr IpAddr(std::uint32_t value) : value_(value) {}
  /// Takes octets, first octet first.
  explicit constexpr IpAddr(Octets const& o)
      : value_(std::uint32_t{o[0]} << 24 | std::uint32_t{o[1]} << 16 | std::uint32_t{o[2]} << 8 |
               o[3]) {}
  /// Reads a dotted quad of four decimal numbers without leading zeros; raises RangeException for
  /// anything else, as inet_pton(3) refuses it.
  explicit IpAddr(std::string_view text);

  /// Takes a number as it lies in a packet, a netlink attribute or struct in_addr.
  static constexpr IpAddr fromNetworkOrder(std::uint32_t value) { return IpAddr(swapped(value)); }

  /// Gives the mask of a prefix length; RangeException above 32.
  static constexpr IpAddr netmask(unsigned length) {
    return IpAddr(checkedLength(length, bits) == 0 ? 0 : ~std::uint32_t{0} << (bits - length));
  }

  /// Gives the number in host order.
  constexpr std::uint32_t value() const { return value_; }
  constexpr Octets octets() const { return {octet(24), octet(16), octet(8), octet(0)}; }
  /// Gives this address with all but the first `length` bits cleared; RangeException above 32.
  constexpr IpAddr masked(unsigned length) const { return IpAddr(value_ & netmask(length).value_); }
  /// True of 0.0.0.0, which stands for none in a next hop and on an interface. A neighbour may have
  /// it.
  constexpr bool isUnspecified() const { return value_ == 0; }
  std::string stringValue() const;

  friend constexpr bool operator==(IpAddr const& a, IpAddr const& b) {
    return a.value_ == b.value_;
  }
  friend constexpr std::strong_ordering operator<=>(IpAddr const& a, IpAddr const& b) {
    return a.value_ <=> b.value_;
  }

  template <class H>
  friend H AbslHashValue(H h, IpAddr const& addr) {
    return H::combine(std::move(h), addr.value_);
  }

 private:
  static constexpr std::uint32_t swapped(std::uint32_t value) {
    // Twice is what it was: it serves both ways.
    return std::endian::native == std::endian::little ? __builtin_bswap32(value) : value;
  }
  constexpr std::uint8_t octet(unsigned shift) const {
    return static_cast<std::uint8_t>(value_ >> shift);
  }

  // In host order: an address is compared as one number, and takes four octets in a million rows.
  std::uint32_t value_ = 0;
};

}  // namespace Dovel
