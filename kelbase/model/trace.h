#pragma once
// The trace handle of the publisher: "Kelbased". Level 0 anomalies, 1 dumps and commits, 2 single
// changes, 8 single messages that are skipped.

#include "platform/mav/trace_handle.h"

namespace Kelbase {

inline Mav::TraceHandle& traceHandle() {
  static Mav::TraceHandle handle("Kelbased");
  return handle;
}

}  // namespace Kelbase
