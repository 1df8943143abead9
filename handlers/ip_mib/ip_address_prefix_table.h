#pragma once
// ipAddressPrefixTable (RFC 4293): the prefixes of the addresses, by interface. The columns do not
// depend on the row: nothing is known here of how a prefix came about. IpAddressTableSm files a row
// for each prefix that an address of ipAddressTable points to.
//
// A row is there exactly while ipAddressPrefix of an address leads to it: whenever a request comes,
// that RowPointer leads to a row. Prefixes that are only routed, or only advertised, have none.

#include "handlers/table/table_functions.h"

OVO_TABLE_FUNCTIONS(ipAddressPrefixTable, IpAddressPrefixTable)
