#pragma once
// The handler unit of the vendor's objects: registers brivetSwFwdIpStatsTable with net-snmp and
// answers its requests from the statistics rows of IpSnmp::IpMib, which it finds by path. All on
// snmpd's thread.

#include "platform/mav/trace_handle.h"

void init_IpSwForwarding();

namespace IpSwForwarding {

/// The unit's trace handle, "Snmp".
Mav::TraceHandle& traceHandle();

}  // namespace IpSwForwarding
