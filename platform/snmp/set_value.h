#pragma once

#include <cstdint>

#include "platform/snmp/net_snmp.h"

namespace Snmp {

/// The border to net-snmp: sets a reply's value from the bytes that a conversion wrote, in the
/// sizes that net-snmp wants on this machine. 32-bit words of the integer types are taken as they
/// are (net-snmp sign-extends INTEGER into its long itself).
/// Returns false when net-snmp refuses, for want of memory.
[[nodiscard]] bool setVarTypedValue(netsnmp_variable_list* variable, unsigned char type,
                                    unsigned char const* bytes, std::int32_t length);

}  // namespace Snmp
