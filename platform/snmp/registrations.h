#pragma once
// What this module has registered with net-snmp, remembered so that it can be undone: SIGHUP
// unmaps the module, and a registration left behind would then lead into unmapped code.

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "platform/snmp/iterator_table.h"
#include "platform/snmp/net_snmp.h"

namespace Snmp {

/// As netsnmp_register_scalar, and remembers it. net-snmp owns `registration` from here on, and
/// frees it when it refuses. Returns net-snmp's status; a refusal is logged.
int registerScalar(netsnmp_handler_registration* registration);

/// As netsnmp_register_table_iterator, and remembers it together with `table`. Requests that come
/// down meet the row server, which calls the handler of `registration`, and go
/// on to net-snmp's own: serialize, bulk to next, table, iterator.
int registerTable(netsnmp_handler_registration* registration, std::unique_ptr<IteratorTable> table);

/// Undoes everything remembered, the latest first.
void unregisterAll() noexcept;

/// How many registrations are remembered.
std::size_t registrationCount() noexcept;

/// All remembered, in the order in which they came.
std::vector<netsnmp_handler_registration const*> registrations();

/// Whether what stands in net-snmp's registry with this name and priority is remembered.
bool isRegistered(std::span<oid const> name, int priority) noexcept;

}  // namespace Snmp
