#pragma once
// The handler unit of the vendor's objects: registers brivetSwFwdIpStatsTable with net-snmp and
// answers its requests from the statistics rows of IpSnmp::IpMib, which it finds by path. All on
// snmpd's thread.

void init_IpSwForwarding();
