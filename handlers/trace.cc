#include "handlers/trace.h"

Mav::TraceHandle& snmpTraceHandle() {
  static Mav::TraceHandle handle("Snmp", false);
  return handle;
}
