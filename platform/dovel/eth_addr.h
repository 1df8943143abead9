#pragma once
// An Ethernet (MAC) address: 6 octets in transmission order. It is printed as "02:00:5e:10:00:01",
// and parsed in upper and lower case. A text that is none raises a Mav::RangeException.

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "platform/mav/text_value.h"

namespace Dovel {

/// What the neighbours of ipNetToMediaTable have. ipNetToPhysicalTable has those of all kinds of
/// links, by their LinkAddr.
class EthAddr : public Mav::TextValue<EthAddr> {
 public:
  using Octets = std::array<std::uint8_t, 6>;

  /// 00:00:00:00:00:00
  constexpr EthAddr() = default;
  explicit constexpr EthAddr(Octets const& octets) : octets_(octets) {}
  /// Reads six groups of two hexadecimal digits with colons between; raises RangeException
  /// otherwise.
  explicit EthAddr(std::string_view text);

  /// Takes the link address of any kind of link; raises RangeException when it has not 6 octets.
  static EthAddr fromBytes(std::span<std::uint8_t const> bytes);

  /// As the kernel has them in NDA_LLADDR (linux/neighbour.h).
  constexpr Octets const& octets() const { return octets_; }
  std::string stringValue() const;

  friend constexpr bool operator==(EthAddr const& a, EthAddr const& b) {
    return a.octets_ == b.octets_;
  }
  friend std::strong_ordering operator<=>(EthAddr const& a, EthAddr const& b) {
    // As unsigned octets, in the order of the wire.
    return std::memcmp(a.octets_.data(), b.octets_.data(), a.octets_.size()) <=> 0;
  }

 private:
  Octets octets_{};
};

}  // namespace Dovel
