#pragma once
// Routes that refuse: they have no next hop, and one row in inetCidrRouteTable.

#include <optional>

#include "model/inet6_route_row.h"
#include "platform/pondo/tables/fib_values.h"

namespace IpSnmp {

/// The row of a route that refuses; nothing of one that carries traffic. Its ifIndex is 0, since it
/// names no interface (RFC 4292), and its protocol that of the route.
std::optional<InetCidrRouteRow> refusalRow(Pondo::Fib::Route const& route);

}  // namespace IpSnmp
