#pragma once
// ipAddressPrefixTable (RFC 4293): the prefixes of the addresses, by interface. The columns do not
// depend on the row: nothing is known here of how a prefix came about.

#include "handlers/table_functions.h"

OVO_DECLARE_TABLE(ipAddressPrefixTable)
