#pragma once
// The daemon's own objects that nobody shall serve although they are not this module's:
// ipRouteTable reads every route of the kernel when a manager walks by, and the daemon is deaf
// meanwhile. An operator keeps it by a line in snmpd.conf, behind the one that loads the module:
//
//   ovosnmpKeep ipRouteTable
//
// On snmpd's thread.

#include <vector>

#include "platform/snmp/displacement.h"

namespace OvoSnmp {

/// snmpd knows the token while this lives. A line with another name is an error in snmpd's log.
/// At most one lives; the module makes it while snmpd.conf is read.
class KeepToken {
 public:
  KeepToken();
  ~KeepToken();
  KeepToken(KeepToken const&) = delete;
  KeepToken& operator=(KeepToken const&) = delete;
};

/// What of them is not kept.
std::vector<Snmp::ObjectRoot> stockObjectsToDisplace();

}  // namespace OvoSnmp
