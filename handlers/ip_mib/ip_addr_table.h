#pragma once
// ipAddrTable (RFC 4293, deprecated there): the IPv4 addresses of the machine. Every column is read
// through the row of ipAddressTable that has the same address. IpAddressTableSm files both.

#include "handlers/table/table_functions.h"

namespace IpSnmp {
using IpAddrTableFunctions = TableFunctions<struct IpAddrTable>;
}

inline constexpr auto& initialize_table_ipAddrTable = IpSnmp::IpAddrTableFunctions::initialize;
inline constexpr auto& ipAddrTable_get_first_data_point =
    IpSnmp::IpAddrTableFunctions::getFirstDataPoint;
inline constexpr auto& ipAddrTable_get_next_data_point =
    IpSnmp::IpAddrTableFunctions::getNextDataPoint;
inline constexpr auto& ipAddrTableIterationHelper = IpSnmp::IpAddrTableFunctions::iterationHelper;
inline constexpr auto& ipAddrTable_make_data_context =
    IpSnmp::IpAddrTableFunctions::makeDataContext;
inline constexpr auto& ipAddrTable_free_data_context =
    IpSnmp::IpAddrTableFunctions::freeDataContext;
inline constexpr auto& ipAddrTable_free_loop_context_at_end =
    IpSnmp::IpAddrTableFunctions::freeLoopContextAtEnd;
inline constexpr auto& ipAddrTable_handler = IpSnmp::IpAddrTableFunctions::handler;
