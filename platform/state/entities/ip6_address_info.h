#pragma once
// What is known of one IPv6 address of an interface. The empty value stands for "no such address".

#include <tuple>

#include "platform/dovel/addr_with_mask.h"
#include "platform/mav/value.h"

namespace Ip6 {

/// Kept by State::Ip6IntfAddresses under its address. A value, so that the same again is seen to be
/// the same, and announces nothing. One thread. What else the table says of an address decides
/// at most where it is announced (tentative, not unique), and is not kept here.
class AddressInfo : public Mav::Value<AddressInfo> {
 public:
  constexpr AddressInfo() = default;
  explicit constexpr AddressInfo(Dovel::Ip6AddrWithMask const& addr) : addr_(addr) {}
  AddressInfo(char const*& from, char const* to)
      : AddressInfo(Mav::parsedStrep<AddressInfo>(from, to)) {}

  /// With its host bits, and the length of its prefix: the key of the collection, too.
  constexpr Dovel::Ip6AddrWithMask const& addr() const { return addr_; }

  static constexpr auto attributes() {
    return std::tuple{Mav::Attribute("addr", &AddressInfo::addr_)};
  }

 private:
  Dovel::Ip6AddrWithMask addr_;
};

}  // namespace Ip6
