#pragma once
// RTM_NEWROUTE and RTM_DELROUTE of IPv4, and RTM_NEWNEXTHOP and RTM_DELNEXTHOP, read into plain
// values (rtnetlink(7); net/ipv4/fib_semantics.c, fib_dump_info; net/ipv4/nexthop.c). Every
// attribute that is used is checked first: BadMessage otherwise.

#include <cstdint>
#include <optional>
#include <vector>

#include "kelbase/model/hop.h"
#include "kelbase/netlink/netlink_message.h"
#include "platform/dovel/prefix.h"

namespace Kelbase {

struct RouteMessage {
  Dovel::Prefix prefix;
  std::uint32_t metric = 0;  // the kernel's priority
  std::uint8_t tos = 0;
  std::uint8_t protocol = 0;  // RTPROT_...
  std::uint8_t type = 0;      // RTN_...; RTN_UNICAST whenever the route has a nexthop object
  std::uint32_t object = 0;   // the nexthop object's id; 0: the next hops are in `hops`
  std::vector<Hop> hops;
  std::optional<Dovel::IpAddr> preferredSource;
  // Over everything by which the kernel tells apart routes of one prefix, tos and metric
  // (fib_find_info): equal in every message about one route, different for different ones.
  std::uint32_t identity = 0;
};

/// False when it tells of no route of table main: another IP version or table, or a copy that the
/// kernel caches. `route` is overwritten (its memory is used again), in parts at least.
bool readRoute(NetlinkMessage const& message, RouteMessage& route);

struct NexthopMessage {
  std::uint32_t id = 0;
  std::vector<std::uint32_t> members;  // of a group, in its order; empty: no group
  bool isBlackhole = false;
  Hop hop;
};

NexthopMessage readNexthop(NetlinkMessage const& message);

}  // namespace Kelbase
