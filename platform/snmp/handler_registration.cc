#include "platform/snmp/handler_registration.h"

#include <algorithm>

#include <absl/container/inlined_vector.h>

#include "platform/snmp/net_snmp.h"

namespace Snmp {

namespace {

// Function-local: built on first use, whichever unit's static objects come first. Room for all of
// them: an allocation that fails while the library is loaded ends the daemon.
using List = absl::InlinedVector<HandlerRegistration*, 8>;
List& list() {
  static List registrations;
  return registrations;
}

}  // namespace

AutoRegistree::AutoRegistree(HandlerRegistration* registration) : registration_(registration) {
  list().push_back(registration);
}

AutoRegistree::~AutoRegistree() {
  auto& all = list();
  // While the library is unloaded: the list is as old as the first unit, and goes behind the last.
  all.erase(std::remove(all.begin(), all.end(), registration_), all.end());
}

void debugInitializing(char const* unit, char const* function, int line) {
  // As the macro DEBUGMSGTL (net-snmp/library/snmp_debug.h), but with the unit's name for the
  // file's.
  if (snmp_get_do_debugging() == 0) return;
  debugmsgtoken("trace", "%s(): %s, %d:\n", function, unit, line);
  debugmsg("trace", "%s(): %s, %d:\n", function, unit, line);
  debugmsgtoken(unit, "Initializing\n");
  debugmsg(unit, "Initializing\n");
}

std::span<HandlerRegistration* const> handlerRegistrations() { return list(); }

}  // namespace Snmp
