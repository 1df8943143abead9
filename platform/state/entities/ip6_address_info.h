#pragma once
// What is known of one IPv6 address of an interface. The empty value stands for "no such address".

#include "platform/dovel/addr_with_mask.h"

namespace Ip6 {

/// Kept by State::Ip6IntfAddresses under its address. A value, so that the same again is seen to be
/// the same, and announces nothing. One thread. What else the table says of an address decides
/// at most where it is announced (tentative, not unique), and is not kept here.
class AddressInfo {
 public:
  constexpr AddressInfo() = default;
  explicit constexpr AddressInfo(Dovel::Ip6AddrWithMask const& addr) : addr_(addr) {}

  /// With its host bits, and the length of its prefix: the key of the collection, too.
  constexpr Dovel::Ip6AddrWithMask const& addr() const { return addr_; }

  bool operator==(AddressInfo const&) const = default;
  bool operator!() const { return !addr_; }

 private:
  Dovel::Ip6AddrWithMask addr_;
};

}  // namespace Ip6
