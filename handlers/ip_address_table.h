#pragma once
// ipAddressTable (RFC 4293): the addresses of the machine, IPv4 and IPv6.

#include "handlers/table_functions.h"

OVO_DECLARE_TABLE(ipAddressTable)
