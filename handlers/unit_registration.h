#pragma once
// What the registrations of all handler units have in common.

#include <span>

#include "platform/snmp/net_snmp.h"

namespace IpSnmp {

/// Traces "FUNCTION initializing oid OID" at level 1. OID as net-snmp prints it, by name where it
/// has the MIB.
void traceInitializing(char const* function, std::span<oid const> objectId);

/// A registration, not handed to net-snmp yet. `modes` are net-snmp's. std::bad_alloc where
/// net-snmp has no memory.
netsnmp_handler_registration* newRegistration(char const* name, Netsnmp_Node_Handler* handler,
                                              std::span<oid const> objectId, int modes);

/// Registers a scalar. `entity` may be null; the mount keeps it alive, and whoever unmounts it has
/// the registrations undone first. What `scalar` points to outlives the registration, and reaches
/// the callback as `handler->myvoid`. std::bad_alloc where net-snmp has no memory; what it refuses
/// is told in the log, and not served.
void registerScalar(char const* name, Netsnmp_Node_Handler* handler, std::span<oid const> objectId,
                    int modes, void* entity, void const* scalar = nullptr);

}  // namespace IpSnmp
