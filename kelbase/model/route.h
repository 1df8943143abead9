#pragma once
// A route and a nexthop object as the kernel lists them, in plain values: what the decoders of its
// messages make, and what the model takes.
//
// `ListedRoute` is one message's word, next hops and all, and lives as long as the message is
// taken; what stays of it is a KernelRoute of 16 octets (route_book.h).

#include <cstdint>
#include <optional>
#include <vector>

#include "kelbase/model/family.h"
#include "kelbase/model/next_hop.h"

namespace Kelbase {

/// What becomes of a packet for which the route was chosen.
enum class RouteKind : std::uint8_t {
  unicast,      // it is sent to a next hop
  blackhole,    // it is refused, in one of three ways
  unreachable,  //
  prohibit,     //
  other,        // neither: it is for this host or for many, or another table is asked (throw)
  dead,         // none is chosen for it: no next hop is alive, or its time is up
};

/// RT_TABLE_MAIN (linux/rtnetlink.h). A VRF has a table of its own.
inline constexpr std::uint32_t mainTable = 254;

/// `Ip`: Ip4 or Ip6.
template <class Ip>
struct ListedRoute {
  std::uint32_t table = mainTable;
  typename Ip::Destination prefix;
  std::uint32_t metric = 0;  // the kernel's priority
  std::uint8_t tos = 0;
  std::uint8_t protocol = 0;  // RTPROT_...
  /// `blackhole` also where the nexthop object is one: the kernel does not tell the route's own.
  RouteKind kind = RouteKind::unicast;
  std::uint32_t object = 0;   // the nexthop object's id; 0: the next hops are in `hops`
  std::vector<NextHop> hops;  // those that are alive
  // The next hops of these are not kept: what is dead is not shown, and revives with its link.
  std::vector<std::int32_t> deadLinks;  // through which the others lead
  // Of one that neither forwards nor refuses (RTN_MULTICAST ...): the link that it is listed over.
  // 0: none. Of a link-local prefix it tells whose.
  std::int32_t link = 0;
  /// Of IPv6: `hops` and `deadLinks` are those of all its siblings (siblings.h), not one's alone.
  bool tellsSiblings = false;
  /// Of IPv6: hundredths of a second that are left, or, negative, that it is past; 0: no end.
  std::int32_t lifetime = 0;
  bool mayExpire = false;  // it, or of siblings the one that the message is about, has an end
  std::optional<Dovel::IpAddr> preferredSource;  // of IPv4: an IPv6 route outlives its source
  /// Over everything that the kernel tells of a route beside prefix, tos, metric and what may
  /// change while it stays the same route: equal in every message about one route, and different
  /// for different ones, but for what the kernel goes by in silence (fib_find_info, nh_comp): the
  /// type of a route with a nexthop object, the scope of a next hop, flags that no tool sets. Of
  /// siblings it is the same, whatever they are.
  std::uint32_t identity = 0;
};

/// A nexthop object. A group has members and no next hop of its own; a blackhole has neither.
struct ListedNexthop {
  std::uint32_t id = 0;
  std::vector<std::uint32_t> members;  // of a group, in its order; empty: no group
  bool isBlackhole = false;
  NextHop hop;
  bool operator==(ListedNexthop const&) const = default;
};

}  // namespace Kelbase
