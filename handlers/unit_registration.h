#pragma once
// What the registrations of all handler units have in common.

#include <span>

#include "platform/snmp/net_snmp.h"

namespace IpSnmp {

/// Below net-snmp's default of 127: these objects come before those of any other module. Among
/// equal identifiers alone: a longer one wins whatever its priority, which is why such
/// registrations are taken out (platform/snmp/displacement.h).
inline constexpr int registrationPriority = 64;

/// Traces "FUNCTION initializing oid OID" at level 1. OID as net-snmp prints it, by name where it
/// has the MIB.
void traceInitializing(char const* function, std::span<oid const> objectId);

/// Registers a scalar. `entity` may be null; the mount keeps it alive, and whoever unmounts it has
/// the registrations undone first. `modes` are net-snmp's. What `scalar` points to outlives the
/// registration, and reaches the callback as `handler->myvoid`. Mav::Exception for want of memory;
/// what net-snmp refuses is told in the log, and not served.
void registerScalar(char const* name, Netsnmp_Node_Handler* handler, std::span<oid const> objectId,
                    int modes, void* entity, void const* scalar = nullptr);

}  // namespace IpSnmp
