#pragma once
// Where the module's lines go inside snmpd. An error and a notice keep their priority; a trace that
// someone has switched on comes as a warning, because Debian's snmpd drops what is below that
// (-LOw).

#include "platform/mav/trace_handle.h"

namespace Snmp {

/// Writes lines to snmpd's own log, each headed "OvoSnmp: ". The module's entries make it the sink,
/// and take it away again before its code is unmapped.
void snmpLogSink(Mav::Severity severity, std::string_view line);

}  // namespace Snmp
