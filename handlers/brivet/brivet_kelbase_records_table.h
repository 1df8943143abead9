#pragma once
// brivetKelbaseRecordsTable (mibs/BRIVET-KELBASE-MIB): how many records each of the shared tables
// has. The numbers are those of a sample that is half a second old at most (model/health.h).
//
// Nine rows, which are there from the agent's start on: a table that is empty, or that nobody could
// read yet, has 0 records. A record that is malformed counts, since the number is what the table
// holds and not what the agent makes of it.

#include "handlers/table/table_functions.h"

namespace IpSnmp {
using BrivetKelbaseRecordsTableFunctions = TableFunctions<struct BrivetKelbaseRecordsTable>;
}

inline constexpr auto& initialize_table_brivetKelbaseRecordsTable =
    IpSnmp::BrivetKelbaseRecordsTableFunctions::initialize;
inline constexpr auto& brivetKelbaseRecordsTable_get_first_data_point =
    IpSnmp::BrivetKelbaseRecordsTableFunctions::getFirstDataPoint;
inline constexpr auto& brivetKelbaseRecordsTable_get_next_data_point =
    IpSnmp::BrivetKelbaseRecordsTableFunctions::getNextDataPoint;
inline constexpr auto& brivetKelbaseRecordsTableIterationHelper =
    IpSnmp::BrivetKelbaseRecordsTableFunctions::iterationHelper;
inline constexpr auto& brivetKelbaseRecordsTable_make_data_context =
    IpSnmp::BrivetKelbaseRecordsTableFunctions::makeDataContext;
inline constexpr auto& brivetKelbaseRecordsTable_free_data_context =
    IpSnmp::BrivetKelbaseRecordsTableFunctions::freeDataContext;
inline constexpr auto& brivetKelbaseRecordsTable_free_loop_context_at_end =
    IpSnmp::BrivetKelbaseRecordsTableFunctions::freeLoopContextAtEnd;
inline constexpr auto& brivetKelbaseRecordsTable_handler =
    IpSnmp::BrivetKelbaseRecordsTableFunctions::handler;
