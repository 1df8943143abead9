#include "platform/snmp/waiting_requests.h"

#include "platform/snmp/net_snmp.h"

namespace Snmp {

void endWaitingRequests() noexcept {
  // A SET that fails has further phases, and may wait once more: for what undoes it.
  constexpr int roundsMax = 3;
  for (int round = 0; round < roundsMax; ++round) {
    // What is registered in this process has no session. 0: nobody waits who points there.
    if (netsnmp_remove_delegated_requests_for_session(nullptr) == 0) return;
    // These names have their error by now, and wait for the others of their requests alone.
    for (auto* slice = netsnmp_subtree_find_first(""); slice; slice = slice->next) {
      for (auto* entry = slice; entry; entry = entry->children) {
        if (entry->session) netsnmp_remove_delegated_requests_for_session(entry->session);
      }
    }
  }
}

}  // namespace Snmp
