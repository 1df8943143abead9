#pragma once
// ipCidrRouteTable (RFC 4292, deprecated there): the IPv4 routes of the machine, a row for each
// next hop, by destination, mask, type of service (always 0) and next hop.

#include "handlers/table_functions.h"

OVO_DECLARE_TABLE(ipCidrRouteTable)
