#pragma once
// Requests that wait for an AgentX subagent, or for whatever else answers later. Meanwhile they
// point to all that is registered for any of their names (netsnmp_request_info::subtree of 5.9.3),
// and net-snmp follows that when the last answer is there, or when the subagent's session ends. A
// registration that goes takes it away under them: the daemon reads freed memory, and ends.

namespace Snmp {

/// Answers those with genErr that point to what this process has registered itself, and what waits
/// for the same subagents with them, as when these had gone; a manager asks again. What comes later
/// is dropped by net-snmp. To be called before anything is unregistered, on the daemon's thread,
/// outside of any request.
void endWaitingRequests() noexcept;

}  // namespace Snmp
