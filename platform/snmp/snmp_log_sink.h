#pragma once
// Where the module's lines go inside snmpd. An error and a notice keep their priority; a trace that
// someone has switched on comes as a warning, because Debian's snmpd drops what is below that
// (-LOw).

#include "platform/mav/trace_handle.h"

namespace Snmp {

/// Writes lines to snmpd's own log, each headed "OvoSnmp: ".
void snmpLogSink(Mav::Severity severity, std::string_view line);

}  // namespace Snmp
