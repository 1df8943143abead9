#pragma once
// An IPv6 address. It is ordered octet by octet, which is the order of the SNMP instances that it
// indexes. It is printed in the compressed form of inet_ntop(3), and every form of RFC 4291 section
// 2.2 is parsed. A text that is none raises a Mav::RangeException.

#include <array>
#include <bit>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/mav/text_value.h"

namespace Dovel {

class Ip6Addr : public Mav::TextValue<Ip6Addr> {
 public:
  /// The longest prefix.
  static constexpr unsigned bits = 128;
  using Octets = std::array<std::uint8_t, 16>;

  /// ::
  constexpr Ip6Addr() = default;
  /// Takes octets, first octet first: the layout of struct in6_addr.
  explicit constexpr Ip6Addr(Octets const& octets) : octets_(octets) {}
  /// Raises RangeException when `text` is no IPv6 address. A zone ("%eth0") is not part of one.
  explicit Ip6Addr(std::string_view text);

  constexpr Octets const& octets() const { return octets_; }
  /// Gives this address with all but the first `length` bits cleared; RangeException above 128.
  Ip6Addr masked(unsigned length) const;
  /// True of ::, which no interface has (RFC 4291 section 2.5.2); in a next hop it stands for none.
  constexpr bool isUnspecified() const { return *this == Ip6Addr(); }
  /// True within fe80::/10 (RFC 4291 section 2.5.6).
  constexpr bool isLinkLocal() const { return octets_[0] == 0xfe && (octets_[1] & 0xc0) == 0x80; }
  std::string stringValue() const;

  friend constexpr bool operator==(Ip6Addr const& a, Ip6Addr const& b) {
    return a.high() == b.high() && a.low() == b.low();
  }
  friend constexpr std::strong_ordering operator<=>(Ip6Addr const& a, Ip6Addr const& b) {
    if (auto const order = a.high() <=> b.high(); order != 0) return order;
    return a.low() <=> b.low();
  }

  template <class H>
  friend H AbslHashValue(H h, Ip6Addr const& addr) {
    return H::combine(std::move(h), addr.high(), addr.low());
  }

 private:
  // Eight octets as a number in the order of the wire, so that numbers compare as the octets do.
  constexpr std::uint64_t half(std::size_t index) const {
    std::uint64_t const value = std::bit_cast<std::array<std::uint64_t, 2>>(octets_)[index];
    return std::endian::native == std::endian::little ? __builtin_bswap64(value) : value;
  }
  constexpr std::uint64_t high() const { return half(0); }
  constexpr std::uint64_t low() const { return half(1); }

  Octets octets_{};
};

/// Of the text of an address or a prefix: whether it is one of IPv6. It looks for a colon: what the
/// text is otherwise, parsing tells.
inline bool isIp6Text(std::string_view text) { return text.find(':') != text.npos; }

}  // namespace Dovel
