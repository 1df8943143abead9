#pragma once

#include "platform/mav/trace_handle.h"

namespace Snmp {

/// Writes lines to snmpd's own log, each headed "OvoSnmp: ".
void snmpLogSink(Mav::Severity severity, std::string_view line);

}  // namespace Snmp
