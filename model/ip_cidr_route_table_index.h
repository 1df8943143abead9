#pragma once
// One next hop of a route: the key of ipCidrRouteTable, ordered as its instances (RFC 4292). A
// million of them are held: 16 octets, no padding.
//
// The mask as the MIB has it: masks order by their length, being contiguous (Dovel::Prefix makes no
// others). So all rows of a prefix stand together, and a prefix before those of more bits in it.
// The type of service is 0 in every row; it is kept because the index has it.

#include <bit>
#include <cstdint>
#include <tuple>

#include "platform/dovel/ip_addr.h"
#include "platform/mav/value.h"

namespace IpSnmp {

class IpCidrRouteTableIndex : public Mav::Value<IpCidrRouteTableIndex> {
 public:
  constexpr IpCidrRouteTableIndex() = default;
  constexpr IpCidrRouteTableIndex(Dovel::IpAddr dest, Dovel::IpAddr mask, std::uint32_t tos,
                                  Dovel::IpAddr nextHop)
      : dest_(dest), mask_(mask), tos_(tos), nextHop_(nextHop) {}
  IpCidrRouteTableIndex(char const*& from, char const* to)
      : IpCidrRouteTableIndex(Mav::parsedStrep<IpCidrRouteTableIndex>(from, to)) {}

  // dest() has no bit that mask() has not; nextHop() is 0.0.0.0 of a route over the link itself.
  constexpr Dovel::IpAddr const& dest() const { return dest_; }
  constexpr Dovel::IpAddr const& mask() const { return mask_; }
  /// Of the mask, in bits: masks of prefixes are contiguous, so that counting them is enough.
  constexpr unsigned length() const { return static_cast<unsigned>(std::popcount(mask_.value())); }
  constexpr std::uint32_t tos() const { return tos_; }
  constexpr Dovel::IpAddr const& nextHop() const { return nextHop_; }

  /// In the order of the instance (RFC 4292, ipCidrRouteEntry).
  static constexpr auto attributes() {
    return std::tuple{Mav::Attribute("dest", &IpCidrRouteTableIndex::dest_),
                      Mav::Attribute("mask", &IpCidrRouteTableIndex::mask_),
                      Mav::Attribute("tos", &IpCidrRouteTableIndex::tos_),
                      Mav::Attribute("nextHop", &IpCidrRouteTableIndex::nextHop_)};
  }

 private:
  Dovel::IpAddr dest_;
  Dovel::IpAddr mask_;
  std::uint32_t tos_ = 0;
  Dovel::IpAddr nextHop_;
};

static_assert(sizeof(IpCidrRouteTableIndex) == 16);

}  // namespace IpSnmp
