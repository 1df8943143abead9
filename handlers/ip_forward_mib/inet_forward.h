#pragma once
// The handler unit of IP-FORWARD-MIB's objects of both families: registers inetCidrRouteNumber and
// inetCidrRouteTable with net-snmp and answers their requests from IpSnmp::IpForwardMib, which it
// finds by path. All on snmpd's thread.

#include "platform/snmp/net_snmp.h"

/// Called at each registration (Snmp::Framework).
void init_InetForward();

/// net-snmp handler callback. Reads the entity in `registration->my_reg_void`, which it does not
/// own, and refuses every SET with notWritable. A sum of three sizes, however many rows there are.
int handle_inetCidrRouteNumber(netsnmp_mib_handler* handler,
                               netsnmp_handler_registration* registration,
                               netsnmp_agent_request_info* request,
                               netsnmp_request_info* requests) noexcept;
