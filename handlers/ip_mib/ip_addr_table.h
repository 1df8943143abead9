#pragma once
// ipAddrTable (RFC 4293, deprecated there): the IPv4 addresses of the machine. Every column is read
// through the row of ipAddressTable that has the same address. IpAddressTableSm files both.
//
// The index has no room for an interface: an address that two links have is one row, that of its
// first presence (model/ip_address_entry.h). ipAdEntBcastAddr is 0 in every row: it is not told. A
// manager that takes it for the last bit of the broadcast address computes the one of all zeros.

#include "handlers/table/table_functions.h"

OVO_TABLE_FUNCTIONS(ipAddrTable, IpAddrTable)
