#pragma once
// The link-layer address of a host, as its kind of link has them: 6 octets on Ethernet, 20 on
// InfiniBand, 4 in an IPv4 tunnel, none on others. MAX_ADDR_LEN (linux/netdevice.h) has 32. A
// longer one raises a Mav::RangeException.

#include <array>
#include <cstdint>
#include <span>
#include <string>

namespace Dovel {

/// Of a fixed size: copying one allocates nothing. Two are equal with their padding, which is
/// zeros.
class LinkAddr {
 public:
  static constexpr std::size_t sizeMax = 32;

  constexpr LinkAddr() = default;
  /// RangeException "link address of N octets, at most 32 are possible".
  explicit LinkAddr(std::span<std::uint8_t const> octets);

  /// In the order of the wire; valid as long as the address.
  constexpr std::span<std::uint8_t const> octets() const { return {octets_.data(), size_}; }
  /// "02:00:00:00:00:01"; empty when there is none.
  std::string stringValue() const;
  bool operator==(LinkAddr const&) const = default;

 private:
  std::array<std::uint8_t, sizeMax> octets_{};  // zero behind the last
  std::uint8_t size_ = 0;
};

}  // namespace Dovel
