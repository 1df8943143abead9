#pragma once

#include "platform/mav/trace_handle.h"

namespace IpSnmp {

/// The trace handle of all handler units, "Snmp".
inline Mav::TraceHandle& snmpTraceHandle() {
  static Mav::TraceHandle handle("Snmp", false);
  return handle;
}

}  // namespace IpSnmp
