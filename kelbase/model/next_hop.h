#pragma once
// A next hop as the kernel tells it: a neighbour, by its address, and the link that leads to it, by
// its index. The tables name the link (Pondo::Fib::Via).
//
// Compared and hashed as a whole: equal lists of them are one set (NextHopSets). Their order has no
// meaning but that it makes a list of siblings, which the kernel tells in any order, one set.

#include <compare>
#include <cstdint>

#include "platform/dovel/ip6_addr.h"
#include "platform/dovel/ip_addr.h"
#include "platform/dovel/routing_values.h"

namespace Kelbase {

struct NextHop {
  Dovel::IpAddr nextHop{};    // 0.0.0.0: none, on the link; or an IPv6 one
  std::int32_t ifIndex = 0;   // 0: none
  Dovel::Ip6Addr nextHop6{};  // ::, none; an IPv4 route may have one (RFC 8950)
  /// Of a next hop whose route shares a prefix with routes of another type; else unknown. Set by
  /// RouteBook, never by a message.
  Routing::Fib::RouteType routeType = Routing::Fib::routeTypeUnknown;

  /// One without leads to its link, on which the destination itself is asked for.
  bool hasGateway() const { return !nextHop.isUnspecified() || !nextHop6.isUnspecified(); }
  /// The same neighbour on the same link.
  bool isSameWay(NextHop const& other) const {
    return nextHop == other.nextHop && ifIndex == other.ifIndex && nextHop6 == other.nextHop6;
  }
  bool operator==(NextHop const&) const = default;
  auto operator<=>(NextHop const&) const = default;

  template <class H>
  friend H AbslHashValue(H h, NextHop const& hop) {
    h = H::combine(std::move(h), hop.nextHop, hop.ifIndex);
    // Of IPv4 there are a million, whose sets are looked up one by one.
    return hop.nextHop6.isUnspecified() ? std::move(h) : H::combine(std::move(h), hop.nextHop6);
  }
};

}  // namespace Kelbase
