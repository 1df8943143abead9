#pragma once

#include <cstdint>

#include "platform/snmp/net_snmp.h"

namespace Snmp {

/// The border to net-snmp, and the one place that knows its word size: sets a variable's value from
/// the bytes that a conversion wrote. The 32-bit words of object identifiers and Counter64 are
/// widened to what net-snmp wants on this machine; those of the other types are taken as they are
/// (it widens them itself, INTEGER with its sign).
/// Returns false when the bytes do not make a value of that type, or for want of memory.
[[nodiscard]] bool setVarTypedValue(netsnmp_variable_list* variable, unsigned char type,
                                    unsigned char const* bytes, std::int32_t length);

}  // namespace Snmp
