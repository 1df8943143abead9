#pragma once
// ipAddressTable (RFC 4293): the addresses of the machine, IPv4 and IPv6. A row is an address,
// however many interfaces have it: what a column says is that of its first presence
// (model/ip_address_entry.h). IpAddressTableSm files the rows.
//
// IPv4 stands before IPv6, as their InetAddressTypes do. Link-local addresses have no row: an index
// of type ipv6(2) has no place for their link. A column that tells of a presence reads it when it
// is asked: when another link becomes the first that has the address, no row has to be filed anew.

#include "handlers/table/table_functions.h"

namespace IpSnmp {
using IpAddressTableFunctions = TableFunctions<struct IpAddressTable>;
}

inline constexpr auto& initialize_table_ipAddressTable =
    IpSnmp::IpAddressTableFunctions::initialize;
inline constexpr auto& ipAddressTable_get_first_data_point =
    IpSnmp::IpAddressTableFunctions::getFirstDataPoint;
inline constexpr auto& ipAddressTable_get_next_data_point =
    IpSnmp::IpAddressTableFunctions::getNextDataPoint;
inline constexpr auto& ipAddressTableIterationHelper =
    IpSnmp::IpAddressTableFunctions::iterationHelper;
inline constexpr auto& ipAddressTable_make_data_context =
    IpSnmp::IpAddressTableFunctions::makeDataContext;
inline constexpr auto& ipAddressTable_free_data_context =
    IpSnmp::IpAddressTableFunctions::freeDataContext;
inline constexpr auto& ipAddressTable_free_loop_context_at_end =
    IpSnmp::IpAddressTableFunctions::freeLoopContextAtEnd;
inline constexpr auto& ipAddressTable_handler = IpSnmp::IpAddressTableFunctions::handler;
