#pragma once
// The trace handle of the state machines: "IpSnmpAgent". Level 1 anomalies, 8 single decisions.

#include "platform/mav/trace_handle.h"

namespace IpSnmp {

inline Mav::TraceHandle& agentTraceHandle() {
  static Mav::TraceHandle handle("IpSnmpAgent");
  return handle;
}

}  // namespace IpSnmp
