#pragma once
// inetCidrRouteTable (RFC 4292): the routes of the machine, IPv4 and IPv6, a row for each next hop
// and one for each route that refuses, by destination, prefix length, policy (always zeroDotZero)
// and next hop. Those of IPv4 that forward are the rows of ipCidrRouteTable, seen by another
// index (model/inet_cidr_routes.h).
//
// An index has up to 48 sub-identifiers, those of two addresses with a zone, and a name up to 59 of
// the 128 that there may be (RFC 2578 section 3.5). The columns come from the row as it is kept,
// but for the age, which is read from the shared tables when a manager asks for that column. A
// route over the link itself has a next hop of type unknown(0), of no octets; so has an IPv4 route
// by way of an IPv6 neighbour (RFC 8950): its row says remote(4), and not where to.

#include "handlers/table/table_functions.h"

namespace IpSnmp {
using InetCidrRouteTableFunctions = TableFunctions<struct InetCidrRouteTable>;
}

inline constexpr auto& initialize_table_inetCidrRouteTable =
    IpSnmp::InetCidrRouteTableFunctions::initialize;
inline constexpr auto& inetCidrRouteTable_get_first_data_point =
    IpSnmp::InetCidrRouteTableFunctions::getFirstDataPoint;
inline constexpr auto& inetCidrRouteTable_get_next_data_point =
    IpSnmp::InetCidrRouteTableFunctions::getNextDataPoint;
inline constexpr auto& inetCidrRouteTableIterationHelper =
    IpSnmp::InetCidrRouteTableFunctions::iterationHelper;
inline constexpr auto& inetCidrRouteTable_make_data_context =
    IpSnmp::InetCidrRouteTableFunctions::makeDataContext;
inline constexpr auto& inetCidrRouteTable_free_data_context =
    IpSnmp::InetCidrRouteTableFunctions::freeDataContext;
inline constexpr auto& inetCidrRouteTable_free_loop_context_at_end =
    IpSnmp::InetCidrRouteTableFunctions::freeLoopContextAtEnd;
inline constexpr auto& inetCidrRouteTable_handler = IpSnmp::InetCidrRouteTableFunctions::handler;
