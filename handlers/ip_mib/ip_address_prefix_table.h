#pragma once
// ipAddressPrefixTable (RFC 4293): the prefixes of the addresses, by interface. The columns do not
// depend on the row: nothing is known here of how a prefix came about. IpAddressTableSm files a row
// for each prefix that an address of ipAddressTable points to.
//
// A row is there exactly while ipAddressPrefix of an address leads to it: whenever a request comes,
// that RowPointer leads to a row. Prefixes that are only routed, or only advertised, have none.

#include "handlers/table/table_functions.h"

namespace IpSnmp {
using IpAddressPrefixTableFunctions = TableFunctions<struct IpAddressPrefixTable>;
}

inline constexpr auto& initialize_table_ipAddressPrefixTable =
    IpSnmp::IpAddressPrefixTableFunctions::initialize;
inline constexpr auto& ipAddressPrefixTable_get_first_data_point =
    IpSnmp::IpAddressPrefixTableFunctions::getFirstDataPoint;
inline constexpr auto& ipAddressPrefixTable_get_next_data_point =
    IpSnmp::IpAddressPrefixTableFunctions::getNextDataPoint;
inline constexpr auto& ipAddressPrefixTableIterationHelper =
    IpSnmp::IpAddressPrefixTableFunctions::iterationHelper;
inline constexpr auto& ipAddressPrefixTable_make_data_context =
    IpSnmp::IpAddressPrefixTableFunctions::makeDataContext;
inline constexpr auto& ipAddressPrefixTable_free_data_context =
    IpSnmp::IpAddressPrefixTableFunctions::freeDataContext;
inline constexpr auto& ipAddressPrefixTable_free_loop_context_at_end =
    IpSnmp::IpAddressPrefixTableFunctions::freeLoopContextAtEnd;
inline constexpr auto& ipAddressPrefixTable_handler =
    IpSnmp::IpAddressPrefixTableFunctions::handler;
