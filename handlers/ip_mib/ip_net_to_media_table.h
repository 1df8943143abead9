#pragma once
// ipNetToMediaTable (RFC 4293, deprecated there): the IPv4 neighbours of the device's interfaces,
// each with its link address. ArpTableSm files them.
//
// Of the kernel's neighbours those with a link address of 6 octets: none that is failed, incomplete
// or noarp, and none that the machine answers for (proxy). So the type is never invalid(2).
// ipNetToPhysicalTable has the others too, and those of IPv6. A link address is read from the
// entity when it is asked for: a neighbour that changes it keeps its row.

#include "handlers/table/table_functions.h"

OVO_TABLE_FUNCTIONS(ipNetToMediaTable, IpNetToMediaTable)
