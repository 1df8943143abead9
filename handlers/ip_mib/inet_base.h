#pragma once
// The handler unit of IP-MIB's objects of both families: registers ipNetToPhysicalTable with
// net-snmp, which is answered from IpSnmp::IpMib. On snmpd's thread.

void init_InetBase();
