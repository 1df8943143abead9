#pragma once
// The handler unit of the vendor's objects: registers brivetSwFwdIpStatsTable with net-snmp and
// answers its requests from the statistics rows of IpSnmp::IpMib, which it finds by path. All on
// snmpd's thread.

/// Called at each registration (Snmp::Framework). Without the entity the table has no rows.
void init_IpSwForwarding();
