#pragma once
// ipAddrTable (RFC 4293, deprecated there): the IPv4 addresses of the machine. Every column is read
// through the row of ipAddressTable that has the same address. IpAddressTableSm files both.
//
// The index has no room for an interface: an address that two links have is one row, that of its
// first presence (model/ip_address_entry.h). ipAdEntBcastAddr is 0 in every row: it is not told. A
// manager that takes it for the last bit of the broadcast address computes the one of all zeros.

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
