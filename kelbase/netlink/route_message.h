#pragma once
// RTM_NEWROUTE and RTM_DELROUTE of IPv4, and RTM_NEWNEXTHOP and RTM_DELNEXTHOP, read into plain
// values (rtnetlink(7); net/ipv4/fib_semantics.c, fib_dump_info; net/ipv4/nexthop.c). Every
// attribute that is used is checked first: BadMessage otherwise.

#include "kelbase/model/route.h"
#include "kelbase/netlink/netlink_message.h"

namespace Kelbase {

/// False when it tells of no route of table main: another IP version or table, or a copy that the
/// kernel caches. `route` is overwritten (its memory is used again), in parts at least.
bool readRoute(NetlinkMessage const& message, ListedRoute& route);

ListedNexthop readNexthop(NetlinkMessage const& message);

}  // namespace Kelbase
