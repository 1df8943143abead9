#pragma once
// What this module has registered with net-snmp, remembered so that it can be undone: SIGHUP
// unmaps the module, and a registration left behind would then lead into unmapped code.

#include <memory>
#include <span>
#include <vector>

#include "platform/snmp/iterator_table.h"
#include "platform/snmp/net_snmp.h"

namespace Snmp {

/// As netsnmp_register_scalar, and remembers it. net-snmp owns `registration` from here on, and
/// frees it when it refuses. Returns net-snmp's status; a refusal is logged. std::bad_alloc where
/// net-snmp has no memory for a handler.
int registerScalar(netsnmp_handler_registration* registration);

/// The same by netsnmp_register_table_iterator, remembered together with `table`. Requests that
/// come down meet the row server, which calls the handler of `registration`, and go on to
/// net-snmp's own: serialize, bulk to next, table, iterator.
int registerTable(netsnmp_handler_registration* registration, std::unique_ptr<IteratorTable> table);

/// Undoes everything remembered, the latest first.
void unregisterAll() noexcept;

/// Answers requests with genErr that wait for an AgentX subagent, or for whatever else answers
/// later, and point to what this process has registered itself; and what waits for the same
/// subagents with them, as when these had gone. A manager asks again; what comes later is dropped
/// by net-snmp. To be called before anything is unregistered, on the daemon's thread, outside of
/// any request: those that wait point to all that is registered for any of their names
/// (netsnmp_request_info::subtree of 5.9.3), and net-snmp follows that when the last answer is
/// there, or when the subagent's session ends. A registration that goes takes it away under them:
/// the daemon reads freed memory, and ends.
void endWaitingRequests() noexcept;

/// Calls call(entry) for each entry of net-snmp's registry, those of one name by priority.
template <class Call>
void forEachEntry(Call const& call) {
  for (auto* slice = netsnmp_subtree_find_first(""); slice; slice = slice->next) {
    for (auto* entry = slice; entry; entry = entry->children) call(*entry);
  }
}

/// All remembered, in the order in which they came.
std::vector<netsnmp_handler_registration const*> registrations();

/// Whether what stands in net-snmp's registry with this name and priority is remembered.
bool isRegistered(std::span<oid const> name, int priority) noexcept;

}  // namespace Snmp
