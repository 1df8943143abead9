#pragma once
// ipAddrTable (RFC 4293, deprecated there): the IPv4 addresses of the machine. Every column is read
// through the row of ipAddressTable that has the same address.

#include "handlers/table_functions.h"

OVO_DECLARE_TABLE(ipAddrTable)
