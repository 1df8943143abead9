#pragma once
// The handler unit of IP-MIB's objects of both families: registers ipNetToPhysicalTable with
// net-snmp, which is answered from IpSnmp::IpMib. On snmpd's thread.
//
// A unit of its own beside ip_base.h: units are registered one by one, and one that fails leaves
// the others served.

/// Called at each registration (Snmp::Framework). Without the entity the table has no rows.
void init_InetBase();
