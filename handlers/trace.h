#pragma once

#include "platform/mav/trace_handle.h"

/// The trace handle of all handler units, "Snmp".
Mav::TraceHandle& snmpTraceHandle();
