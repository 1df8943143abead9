#pragma once
// ipNetToMediaTable (RFC 4293, deprecated there): the IPv4 neighbours of the device's interfaces,
// each with its link address. ArpTableSm files them.
//
// Of the kernel's neighbours those with a link address of 6 octets: none that is failed, incomplete
// or noarp, and none that the machine answers for (proxy). So the type is never invalid(2).
// ipNetToPhysicalTable has the others too, and those of IPv6. A link address is read from the
// entity when it is asked for: a neighbour that changes it keeps its row.

#include "handlers/table/table_functions.h"

namespace IpSnmp {
using IpNetToMediaTableFunctions = TableFunctions<struct IpNetToMediaTable>;
}

inline constexpr auto& initialize_table_ipNetToMediaTable =
    IpSnmp::IpNetToMediaTableFunctions::initialize;
inline constexpr auto& ipNetToMediaTable_get_first_data_point =
    IpSnmp::IpNetToMediaTableFunctions::getFirstDataPoint;
inline constexpr auto& ipNetToMediaTable_get_next_data_point =
    IpSnmp::IpNetToMediaTableFunctions::getNextDataPoint;
inline constexpr auto& ipNetToMediaTableIterationHelper =
    IpSnmp::IpNetToMediaTableFunctions::iterationHelper;
inline constexpr auto& ipNetToMediaTable_make_data_context =
    IpSnmp::IpNetToMediaTableFunctions::makeDataContext;
inline constexpr auto& ipNetToMediaTable_free_data_context =
    IpSnmp::IpNetToMediaTableFunctions::freeDataContext;
inline constexpr auto& ipNetToMediaTable_free_loop_context_at_end =
    IpSnmp::IpNetToMediaTableFunctions::freeLoopContextAtEnd;
inline constexpr auto& ipNetToMediaTable_handler = IpSnmp::IpNetToMediaTableFunctions::handler;
