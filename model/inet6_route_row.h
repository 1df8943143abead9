#pragma once
// What inetCidrRouteTable keeps of an IPv6 route's next hop, and what a row of either family says
// beside its key. A quarter of a million are held: octets alone, without padding. A key has 16 of
// the destination, 4 of its zone, 1 of the length, 16 of the next hop and 4 of the ifIndex; a row 4
// of the metric, 1 of the type and 1 of the protocol.
//
// The state machine hands rows over as Inet6RouteHop, the collection keeps Inet6RouteKey and
// Inet6RouteRow, and a reader sees InetCidrRouteTableIndex and InetCidrRouteRow.

#include <array>
#include <bit>
#include <compare>
#include <cstdint>

#include "model/enumerations.h"
#include "model/typed_inet_address.h"
#include "platform/dovel/ip6_prefix.h"
#include "platform/dovel/routing_values.h"

namespace IpSnmp {

/// What a row of either family says beside its key: made from what is kept when an iterator comes
/// to the row.
struct InetCidrRouteRow {
  // 0 of a route that refuses, and where the kernel names no interface (RFC 4292,
  // inetCidrRouteIfIndex).
  std::uint32_t ifIndex = 0;
  Routing::RouteMetric metric;
  InetCidrRouteType type = inetCidrRouteTypeOther;
  Routing::Fib::RouteType protocol = Routing::Fib::routeTypeUnknown;

  bool operator==(InetCidrRouteRow const&) const = default;
};

/// A number that may stand at any address. A std::uint32_t would align the key to four octets:
/// three of padding in each of a quarter of a million.
class PackedNumber {
 public:
  PackedNumber() = default;
  explicit PackedNumber(std::uint32_t number) : octets_(std::bit_cast<decltype(octets_)>(number)) {}
  // In the machine's order: it never leaves the process. Compared as the number that it is.
  operator std::uint32_t() const { return std::bit_cast<std::uint32_t>(octets_); }

 private:
  std::array<std::uint8_t, sizeof(std::uint32_t)> octets_{};
};

/// One next hop of an IPv6 route, as a row tells it. Type and protocol have no part in the order:
/// of two hops that differ in them alone the first in the route's set has the row.
struct Inet6RouteHop {
  Dovel::Ip6Addr nextHop;     // ::, none
  std::uint32_t ifIndex = 0;  // 0: none. The zone of a link-local next hop
  InetCidrRouteType type = inetCidrRouteTypeOther;
  Routing::Fib::RouteType protocol = Routing::Fib::routeTypeUnknown;

  /// That of the instances: those of one prefix without a next hop before those with one, and
  /// ipv6(2) before ipv6z(4). Of those that would have one instance, by ifIndex.
  std::strong_ordering operator<=>(Inet6RouteHop const& other) const {
    if (auto const order = rank() <=> other.rank(); order != 0) return order;
    if (auto const order = nextHop <=> other.nextHop; order != 0) return order;
    return ifIndex <=> other.ifIndex;
  }
  bool operator==(Inet6RouteHop const& other) const { return (*this <=> other) == 0; }
  /// Whether the two have one instance.
  bool isSameInstance(Inet6RouteHop const& other) const {
    return nextHop == other.nextHop && (!nextHop.isLinkLocal() || ifIndex == other.ifIndex);
  }

 private:
  // The InetAddressType of the next hop decides before its octets do (RFC 4001): unknown(0),
  // ipv6(2), ipv6z(4).
  int rank() const { return nextHop.isUnspecified() ? 0 : nextHop.isLinkLocal() ? 2 : 1; }
};

/// Ordered as the instances. The ifIndex is in it because the row tells it, and because it is the
/// zone of a link-local next hop. Of hops that would have one instance, whoever files the rows
/// leaves one (Ip6RouteTableSm).
class Inet6RouteKey {
 public:
  Inet6RouteKey() = default;
  Inet6RouteKey(Dovel::Ip6Prefix const& prefix, Dovel::Ip6Addr const& nextHop,
                std::uint32_t ifIndex)
      : dest_(prefix.address()),
        zone_(prefix.zone()),
        length_(static_cast<std::uint8_t>(prefix.length())),
        nextHop_(nextHop),
        ifIndex_(ifIndex) {}

  // Made anew: a prefix as a member would bring its padding.
  Dovel::Ip6Prefix prefix() const { return {dest_, length_, zone_}; }
  /// Whether the row belongs to this prefix: by its parts, so that a walk over rows makes no prefix
  /// of each.
  bool isOf(Dovel::Ip6Prefix const& prefix) const {
    return dest_ == prefix.address() && length_ == prefix.length() && zone_ == prefix.zone();
  }
  /// With the zone of a link-local prefix: ipv6z(4), else ipv6(2).
  TypedInetAddress dest() const { return {dest_, zone_}; }
  Dovel::Ip6Addr const& address() const { return dest_; }
  /// In bits.
  unsigned length() const { return length_; }
  /// 0: none.
  std::uint32_t zone() const { return zone_; }
  /// unknown(0), without octets, where there is none; with its link for a zone where it is
  /// link-local (RFC 4007).
  TypedInetAddress nextHop() const {
    if (nextHop_.isUnspecified()) return {};
    return {nextHop_, nextHop_.isLinkLocal() ? std::uint32_t{ifIndex_} : 0};
  }
  /// That of the row; 0: none.
  std::uint32_t ifIndex() const { return ifIndex_; }

  bool operator==(Inet6RouteKey const& other) const { return (*this <=> other) == 0; }
  // ipv6(2) stands before ipv6z(4). Within these the address has its zone for its last octets (RFC
  // 4001), so that the zone is compared before the length.
  std::strong_ordering operator<=>(Inet6RouteKey const& other) const {
    if (auto const order = (zone_ != 0U) <=> (other.zone_ != 0U); order != 0) return order;
    if (auto const order = dest_ <=> other.dest_; order != 0) return order;
    if (auto const order = std::uint32_t{zone_} <=> other.zone_; order != 0) return order;
    if (auto const order = length_ <=> other.length_; order != 0) return order;
    return hop() <=> other.hop();
  }

 private:
  Inet6RouteHop hop() const { return {nextHop_, ifIndex_}; }

  // Octets alone, so that an array of them has no gaps. operator<=> has an order of its own.
  Dovel::Ip6Addr dest_;
  PackedNumber zone_;
  std::uint8_t length_ = 0;
  Dovel::Ip6Addr nextHop_;
  PackedNumber ifIndex_;
};

static_assert(sizeof(Inet6RouteKey) == 41);

/// What a row keeps beside its key, which has the ifIndex.
class Inet6RouteRow {
 public:
  Inet6RouteRow() = default;
  Inet6RouteRow(Routing::RouteMetric const& metric, InetCidrRouteType type,
                Routing::Fib::RouteType protocol)
      : metric_(metric.value()),
        type_(static_cast<std::uint8_t>(type)),
        protocol_(static_cast<std::uint8_t>(protocol)) {}

  Routing::RouteMetric metric() const { return Routing::RouteMetric(metric_); }
  /// As they were put in: both enumerations have numbers below 256.
  InetCidrRouteType type() const { return static_cast<InetCidrRouteType>(type_); }
  Routing::Fib::RouteType protocol() const {
    return static_cast<Routing::Fib::RouteType>(protocol_);
  }

 private:
  // Enumerations by their numbers, an octet each: RouteType and InetCidrRouteType have no more.
  PackedNumber metric_;
  std::uint8_t type_ = 0;
  std::uint8_t protocol_ = 0;
};

// 47 octets a row with its key, as inet_cidr_routes.h says.
static_assert(sizeof(Inet6RouteRow) == 6);

}  // namespace IpSnmp
