#pragma once
// ipNetToMediaTable (RFC 4293, deprecated there): the IPv4 neighbours of the device's interfaces,
// each with its link address.

#include "handlers/table_functions.h"

OVO_DECLARE_TABLE(ipNetToMediaTable)
