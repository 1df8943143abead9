#pragma once
// RTM_NEWROUTE and RTM_DELROUTE of both versions of IP, read into plain values (rtnetlink(7);
// net/ipv4/fib_semantics.c, fib_dump_info; net/ipv6/route.c, rt6_fill_node). Every attribute that
// is used is checked first: BadMessage otherwise.
//
// Called by RouteSource for each message of a dump: a million times at the start of a router with
// full tables. What is not kept is not decoded, and the caller's route is filled
// again and again, so that to read one allocates nothing. No value points into the datagram.

#include <cstdint>
#include <optional>

#include "kelbase/model/route.h"
#include "kelbase/netlink/netlink_message.h"

namespace Kelbase {

/// False when it tells of no route of table main to everybody: another IP version or table, a copy
/// that the kernel caches, or a route for packets from some sources alone (IPv6). `route` is
/// overwritten (its memory is used again), in parts at least.
template <class Ip>
bool readRoute(NetlinkMessage const& message, ListedRoute<Ip>& route);

/// The link of an IPv6 route to ff00::/8 of table local, which the kernel makes on each link that
/// has IPv6 (net/ipv6/addrconf.c, addrconf_add_mroute); nothing of another route.
std::optional<std::int32_t> readMulticastLink(NetlinkMessage const& message);

}  // namespace Kelbase
