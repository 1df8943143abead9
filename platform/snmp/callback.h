#pragma once
// The wall between net-snmp's C frames and our exceptions: one that crossed would end snmpd.
//
// Every function that net-snmp calls by pointer is one of these wrappers around a body that may
// throw: handlers of objects, the functions of a table, alarms, descriptors, configuration lines,
// the module's entries. A request whose callback fails is answered with genErr; the daemon and its
// other modules go on.

#include <exception>
#include <string_view>

#include "platform/snmp/net_snmp.h"

namespace Snmp {

/// Logs the exception in flight as a fault of this module, "WHO: TEXT". For catch (...) alone.
void logFault(std::string_view who) noexcept;

/// Runs the body of a net-snmp handler callback. An exception is logged under the callback's name,
/// and the requests fail with genErr. All of them: which one the body was at is not known here.
template <class Body>
int guarded(std::string_view who, netsnmp_request_info* requests, Body const& body) noexcept {
  try {
    return body();
  } catch (...) {
    logFault(who);
    netsnmp_request_set_error_all(requests, SNMP_ERR_GENERR);
    return SNMP_ERR_GENERR;
  }
}

/// Runs the body of a callback whose result an exception turns into `fallback`. It ends what was
/// under way: null for a row, say.
template <class Result, class Body>
Result guardedOr(std::string_view who, Result fallback, Body const& body) noexcept {
  try {
    return body();
  } catch (...) {
    logFault(who);
    return fallback;
  }
}

/// Runs the body of a callback that has nobody to report to: alarms, descriptors, module entries.
template <class Body>
void guarded(std::string_view who, Body const& body) noexcept {
  try {
    body();
  } catch (...) {
    logFault(who);
  }
}

}  // namespace Snmp
