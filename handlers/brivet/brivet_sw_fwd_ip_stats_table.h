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

OVO_TABLE_FUNCTIONS(brivetSwFwdIpStatsTable, BrivetSwFwdIpStatsTable)
