#include "platform/snmp/snmp_log_sink.h"

#include "platform/snmp/net_snmp.h"

namespace Snmp {

namespace {

int priority(Mav::Severity severity) {
  switch (severity) {
    case Mav::Severity::error:
      return LOG_ERR;
    case Mav::Severity::notice:
      return LOG_NOTICE;
    // Traces, which someone has switched on: Debian's snmpd (-LOw) drops all below a warning.
    case Mav::Severity::info:
    case Mav::Severity::debug:
    case Mav::Severity::warning:
      return LOG_WARNING;
  }
  return LOG_ERR;
}

}  // namespace

void snmpLogSink(Mav::Severity severity, std::string_view line) {
  // The line is an argument, never a format: it may hold what a manager has sent.
  snmp_log(priority(severity), "OvoSnmp: %.*s\n", static_cast<int>(line.size()), line.data());
}

}  // namespace Snmp
