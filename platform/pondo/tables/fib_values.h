#pragma once
// What the forwarding table holds: routes, and the sets of next hops that routes share, called fecs
// (forwarding equivalence classes). Plain values, the same on either side of the shared tables.

#include <compare>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/dovel/intf_id.h"
#include "platform/dovel/ip6_addr.h"
#include "platform/dovel/ip_addr.h"
#include "platform/dovel/routing_values.h"
#include "platform/mav/number_value.h"

namespace Pondo::Fib {

/// The name of a fec. 0 names none. That of a kernel's nexthop object has the object's number, so
/// that its replacement changes one record.
class FecId : public Mav::NumberValue<FecId, std::uint64_t> {
 public:
  using NumberValue::NumberValue;
};

/// The most vias that a fec has. A set of the kernel that has more is cut, with a log line.
inline constexpr std::size_t viasMax = 128;

/// A next hop in a fec: the address of a neighbour (nextHop, or nextHop6), an interface, or both.
struct Via {
  Dovel::IpAddr nextHop;     // 0.0.0.0: none
  Dovel::IntfId intfId;      // empty: none
  std::int32_t ifIndex = 0;  // of intfId when published, 0 when that is empty. Not served: it makes
                             // the record differ when the name comes back on another interface
  Dovel::Ip6Addr nextHop6{};  // ::, none; an IPv4 route may have one, and no nextHop (RFC 8950)
  /// That of the route, when unknown. Known in a set of several IPv6 routes that one prefix has.
  Routing::Fib::RouteType routeType = Routing::Fib::routeTypeUnknown;
  bool operator==(Via const&) const = default;
};

/// A published set of next hops, in the order of the kernel's set. The order is kept: of
/// the vias of an IPv4 route that have one next hop the first has the row (agent/fec_rows.h).
struct Fec {
  std::vector<Via> vias;  // 1 to viasMax
  bool operator==(Fec const&) const = default;
};

/// A published route; its prefix is the key.
struct Route {
  FecId fecId;  // none for the types that carry no traffic
  Routing::RouteMetric metric;
  Routing::RoutePreference preference;
  Routing::Fib::RouteType routeType = Routing::Fib::routeTypeUnknown;
  /// Of a route that refuses: the type that its protocol gives to those which carry traffic.
  /// Unknown in all others, whose type tells it.
  Routing::Fib::RouteType refusedType = Routing::Fib::routeTypeUnknown;
  std::uint32_t changedAt = 0;  // when the publisher saw it change: seconds of CLOCK_BOOTTIME
                                // (clock_gettime(2)); 0: before it looked
  bool operator==(Route const&) const = default;
};

/// Whether the two are the same route, whenever it changed. A publisher that starts does not know
/// since when the routes are there: what it finds unchanged is not written again.
inline bool isSameButAge(Route a, Route const& b) {
  a.changedAt = b.changedAt;
  return a == b;
}

}  // namespace Pondo::Fib
