#pragma once

namespace Snmp {

/// What net-snmp's modules say when they initialise, for `snmpd -D`: the function trace under the
/// token "trace", then "Initializing" under the unit's own. Silent unless debugging is on.
void debugInitializing(char const* unit, char const* function, int line);

}  // namespace Snmp
