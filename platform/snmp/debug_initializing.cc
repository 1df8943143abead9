#include "platform/snmp/debug_initializing.h"

#include "platform/snmp/net_snmp.h"

namespace Snmp {

void debugInitializing(char const* unit, char const* function, int line) {
  if (snmp_get_do_debugging() == 0) return;
  debugmsgtoken("trace", "%s(): %s, %d:\n", function, unit, line);
  debugmsg("trace", "%s(): %s, %d:\n", function, unit, line);
  debugmsgtoken(unit, "Initializing\n");
  debugmsg(unit, "Initializing\n");
}

}  // namespace Snmp
