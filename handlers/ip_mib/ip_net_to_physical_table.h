#pragma once
// ipNetToPhysicalTable (RFC 4293): the neighbours of the device's interfaces, of both versions of
// IP and in every state. IpNetToPhysicalTableSm files them.

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
