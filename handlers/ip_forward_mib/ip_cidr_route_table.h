#pragma once
// ipCidrRouteTable (RFC 4292, deprecated there): the IPv4 routes of the machine, a row for each
// next hop, by destination, mask, type of service (always 0) and next hop. IpRouteTableSm files
// them in passes: between two of these a request may see one prefix as it is, and another as it
// was.
//
// The rows of one prefix change at once, within a pass: no request sees some of its next hops old
// and others new. Not in it are routes that refuse, routes of IPv6, and the IPv6 next hop of an
// IPv4 route (RFC 8950), which shows as 0.0.0.0.
//
// A million rows are walked at about a microsecond each (docs/benchmarks.md): a column is converted
// from the row where it lies, and nothing is allocated for it.

#include "handlers/table/table_functions.h"

namespace IpSnmp {
using IpCidrRouteTableFunctions = TableFunctions<struct IpCidrRouteTable>;
}

inline constexpr auto& initialize_table_ipCidrRouteTable =
    IpSnmp::IpCidrRouteTableFunctions::initialize;
inline constexpr auto& ipCidrRouteTable_get_first_data_point =
    IpSnmp::IpCidrRouteTableFunctions::getFirstDataPoint;
inline constexpr auto& ipCidrRouteTable_get_next_data_point =
    IpSnmp::IpCidrRouteTableFunctions::getNextDataPoint;
inline constexpr auto& ipCidrRouteTableIterationHelper =
    IpSnmp::IpCidrRouteTableFunctions::iterationHelper;
inline constexpr auto& ipCidrRouteTable_make_data_context =
    IpSnmp::IpCidrRouteTableFunctions::makeDataContext;
inline constexpr auto& ipCidrRouteTable_free_data_context =
    IpSnmp::IpCidrRouteTableFunctions::freeDataContext;
inline constexpr auto& ipCidrRouteTable_free_loop_context_at_end =
    IpSnmp::IpCidrRouteTableFunctions::freeLoopContextAtEnd;
inline constexpr auto& ipCidrRouteTable_handler = IpSnmp::IpCidrRouteTableFunctions::handler;
