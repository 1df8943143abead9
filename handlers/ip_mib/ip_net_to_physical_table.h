#pragma once
// ipNetToPhysicalTable (RFC 4293): the neighbours of the device's interfaces, of both versions of
// IP and in every state but noarp. IpNetToPhysicalTableSm files them.
//
// A link-local neighbour has an address of type ipv6z(4), whose last four octets are the ifIndex
// (RFC 4001, RFC 4007); the others are ipv4(1) and ipv6(2). The columns stand by value in the row:
// what a request reads of one neighbour is of one moment.
//
// ipNetToPhysicalLastUpdated is within a second of what the kernel says, and 0 where that was
// before the daemon's start. What the kernel does without a word (a neighbour becomes incomplete,
// or delay) shows within two seconds, later where there are very many neighbours.

#include "handlers/table/table_functions.h"

OVO_TABLE_FUNCTIONS(ipNetToPhysicalTable, IpNetToPhysicalTable)
