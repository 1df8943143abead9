#pragma once
// What this module has registered with net-snmp, remembered so that it can be undone: SIGHUP
// unmaps the module, and a registration left behind would then lead into unmapped code.

#include <cstddef>

#include "platform/snmp/net_snmp.h"

namespace Snmp {

/// As netsnmp_register_scalar, and remembers it. net-snmp owns `registration` from here on, and
/// frees it when it refuses. Returns net-snmp's status; a refusal is logged.
int registerScalar(netsnmp_handler_registration* registration);

/// Undoes everything remembered, the latest first.
void unregisterAll() noexcept;

/// How many registrations are remembered.
std::size_t registrationCount() noexcept;

}  // namespace Snmp
