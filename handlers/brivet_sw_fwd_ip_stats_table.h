#pragma once
// brivetSwFwdIpStatsTable (mibs/BRIVET-SW-FWD-IP-MIB): the IP counters of the packets that the
// kernel itself receives, forwards and sends, one row an IP version. A counter is read from the
// kernel's files when it is asked for and the row's snapshot is older than half a second
// (stats/sw_fwd_stats.h): a walk of all columns reads each file once.

#include "handlers/table_functions.h"

OVO_DECLARE_TABLE(brivetSwFwdIpStatsTable)
