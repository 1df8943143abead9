#pragma once
// brivetKelbaseRecordsTable (mibs/BRIVET-KELBASE-MIB): how many records each of the shared tables
// has. The numbers are those of a sample that is half a second old at most (model/health.h).
//
// Nine rows, which are there from the agent's start on: a table that is empty, or that nobody could
// read yet, has 0 records. A record that is malformed counts, since the number is what the table
// holds and not what the agent makes of it.

#include "handlers/table/table_functions.h"

OVO_TABLE_FUNCTIONS(brivetKelbaseRecordsTable, BrivetKelbaseRecordsTable)
