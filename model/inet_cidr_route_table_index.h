#pragma once
// One next hop of a route of either family: the key of inetCidrRouteTable, ordered as its instances
// (RFC 4292). inetCidrRoutePolicy is zeroDotZero in all, and has no place in it.
//
// Nobody keeps one: a row's is made of what the collections keep (InetCidrRoutes::keyOf), as an
// iterator comes to it. So it has neither a hash nor a parser.

#include <compare>
#include <cstdint>
#include <ostream>
#include <string>

#include "model/typed_inet_address.h"
#include "platform/mav/exception.h"

namespace IpSnmp {

/// inetCidrRoutePolicy: the routes that are served know no policy.
struct ZeroDotZero {
  bool operator==(ZeroDotZero const&) const = default;
  // For the traces of a hint.
  friend std::ostream& operator<<(std::ostream& out, ZeroDotZero const& /*policy*/) {
    return out << "0.0";
  }
};

class InetCidrRouteTableIndex {
 public:
  InetCidrRouteTableIndex() = default;
  /// Of a row that is there; nothing is checked.
  InetCidrRouteTableIndex(TypedInetAddress const& dest, unsigned pfxLen,
                          TypedInetAddress const& nextHop)
      : dest_(dest), pfxLen_(static_cast<std::uint8_t>(pfxLen)), nextHop_(nextHop) {}
  /// As an instance has it, for the hint of an iteration. RangeException when a type does not fit
  /// its octets, or the length is above 128. More than 32 of an IPv4 destination pass, and name no
  /// row.
  template <class Octets>
  InetCidrRouteTableIndex(std::uint32_t destType, Octets const& dest, std::uint32_t pfxLen,
                          ZeroDotZero /*policy*/, std::uint32_t nextHopType, Octets const& nextHop)
      : InetCidrRouteTableIndex(TypedInetAddress(destType, {dest.data(), dest.size()}), pfxLen,
                                TypedInetAddress(nextHopType, {nextHop.data(), nextHop.size()})) {
    if (pfxLen > Dovel::Ip6Addr::bits) {
      throw Mav::RangeException("no prefix has " + std::to_string(pfxLen) + " bits");
    }
  }

  /// The prefix's address; pfxLen() in bits. A next hop of no octets is none.
  TypedInetAddress const& dest() const { return dest_; }
  unsigned pfxLen() const { return pfxLen_; }
  TypedInetAddress const& nextHop() const { return nextHop_; }

  // Member by member, in the order of the instance: a TypedInetAddress compares its type first.
  bool operator==(InetCidrRouteTableIndex const&) const = default;
  std::strong_ordering operator<=>(InetCidrRouteTableIndex const&) const = default;

  /// "2001:db8::/32 via fe80::1%3".
  friend std::ostream& operator<<(std::ostream& out, InetCidrRouteTableIndex const& key) {
    return out << key.dest_ << '/' << key.pfxLen() << " via " << key.nextHop_;
  }

 private:
  TypedInetAddress dest_;
  std::uint8_t pfxLen_ = 0;
  TypedInetAddress nextHop_;
};

}  // namespace IpSnmp
