#pragma once

#include "platform/mav/trace_handle.h"

namespace IpSnmp {

/// The trace handle of all handler units, "Snmp".
inline Mav::TraceHandle& snmpTraceHandle() {
  // Level 0 from the start, the rest by MAV_TRACE. At level 2 the row server calls the table's
  // functions for each row, for the sake of their lines: a walk costs more then.
  static Mav::TraceHandle handle("Snmp", false);
  return handle;
}

}  // namespace IpSnmp
