#include "platform/snmp/callback.h"

#include <string>

#include "platform/mav/trace_handle.h"

namespace Snmp {

namespace {

// Thrown once more, to be told apart by its type.
std::string inFlight() {
  try {
    throw;
  } catch (std::exception const& e) {
    return e.what();
  } catch (...) {
    return "an exception of unknown type";
  }
}

}  // namespace

void logFault(std::string_view who) noexcept {
  try {
    Mav::log(Mav::Severity::error, std::string(who) + ": " + inFlight());
  } catch (...) {
    // A literal, straight to snmpd's log: nothing of ours is allocated for it.
    snmp_log(LOG_ERR, "OvoSnmp: a fault that could not be told (out of memory?)\n");
  }
}

}  // namespace Snmp
