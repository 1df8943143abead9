#pragma once
// brivetSwFwdIpStatsTable (mibs/BRIVET-SW-FWD-IP-MIB): the IP counters of the packets that the
// kernel itself receives, forwards and sends, one row an IP version. A counter is read from the
// kernel's files when it is asked for and the row's snapshot is older than half a second
// (stats/sw_fwd_stats.h): a walk of all columns reads each file once.
//
// Two rows, ipv4(1) and ipv6(2), which are there from the agent's start on, at 0 until a first
// read. A file that cannot be read leaves its row at the last values, and a manager sees counters
// that stand still. A Counter32 is the lower half of the Counter64 beside it, so that both wrap as
// their types say (RFC 2578 sections 7.1.6 and 7.1.10).

#include "handlers/table/table_functions.h"

namespace IpSnmp {
using BrivetSwFwdIpStatsTableFunctions = TableFunctions<struct BrivetSwFwdIpStatsTable>;
}

inline constexpr auto& initialize_table_brivetSwFwdIpStatsTable =
    IpSnmp::BrivetSwFwdIpStatsTableFunctions::initialize;
inline constexpr auto& brivetSwFwdIpStatsTable_get_first_data_point =
    IpSnmp::BrivetSwFwdIpStatsTableFunctions::getFirstDataPoint;
inline constexpr auto& brivetSwFwdIpStatsTable_get_next_data_point =
    IpSnmp::BrivetSwFwdIpStatsTableFunctions::getNextDataPoint;
inline constexpr auto& brivetSwFwdIpStatsTableIterationHelper =
    IpSnmp::BrivetSwFwdIpStatsTableFunctions::iterationHelper;
inline constexpr auto& brivetSwFwdIpStatsTable_make_data_context =
    IpSnmp::BrivetSwFwdIpStatsTableFunctions::makeDataContext;
inline constexpr auto& brivetSwFwdIpStatsTable_free_data_context =
    IpSnmp::BrivetSwFwdIpStatsTableFunctions::freeDataContext;
inline constexpr auto& brivetSwFwdIpStatsTable_free_loop_context_at_end =
    IpSnmp::BrivetSwFwdIpStatsTableFunctions::freeLoopContextAtEnd;
inline constexpr auto& brivetSwFwdIpStatsTable_handler =
    IpSnmp::BrivetSwFwdIpStatsTableFunctions::handler;
