#pragma once
// ipNetToPhysicalTable (RFC 4293): the neighbours of the device's interfaces, of both versions of
// IP and in every state but noarp. IpNetToPhysicalTableSm files them.
//
// A link-local neighbour has an address of type ipv6z(4), whose last four octets are the ifIndex
// (RFC 4001, RFC 4007); the others are ipv4(1) and ipv6(2). The columns stand by value in the row:
// what a request reads of one neighbour is of one moment.
//
// ipNetToPhysicalLastUpdated is within a second of what the kernel says, and 0 where that was
// before the daemon's start. What the kernel does without a word (a neighbour becomes incomplete,
// or delay) shows within two seconds, later where there are very many neighbours.

#include "handlers/table/table_functions.h"

namespace IpSnmp {
using IpNetToPhysicalTableFunctions = TableFunctions<struct IpNetToPhysicalTable>;
}

inline constexpr auto& initialize_table_ipNetToPhysicalTable =
    IpSnmp::IpNetToPhysicalTableFunctions::initialize;
inline constexpr auto& ipNetToPhysicalTable_get_first_data_point =
    IpSnmp::IpNetToPhysicalTableFunctions::getFirstDataPoint;
inline constexpr auto& ipNetToPhysicalTable_get_next_data_point =
    IpSnmp::IpNetToPhysicalTableFunctions::getNextDataPoint;
inline constexpr auto& ipNetToPhysicalTableIterationHelper =
    IpSnmp::IpNetToPhysicalTableFunctions::iterationHelper;
inline constexpr auto& ipNetToPhysicalTable_make_data_context =
    IpSnmp::IpNetToPhysicalTableFunctions::makeDataContext;
inline constexpr auto& ipNetToPhysicalTable_free_data_context =
    IpSnmp::IpNetToPhysicalTableFunctions::freeDataContext;
inline constexpr auto& ipNetToPhysicalTable_free_loop_context_at_end =
    IpSnmp::IpNetToPhysicalTableFunctions::freeLoopContextAtEnd;
inline constexpr auto& ipNetToPhysicalTable_handler =
    IpSnmp::IpNetToPhysicalTableFunctions::handler;
