#pragma once
// The handler unit of IP-FORWARD-MIB: registers ipCidrRouteNumber and ipCidrRouteTable with
// net-snmp and answers their requests from IpSnmp::IpForwardMib, which it finds by path. All on
// snmpd's thread.

#include "platform/snmp/net_snmp.h"

/// Called at each registration (Snmp::Framework).
void init_IpForward();

/// net-snmp handler callback. Reads the entity in `registration->my_reg_void`, which it does not
/// own, and refuses every SET with notWritable. The size of the collection: the number of rows as a
/// walk would find it at that moment.
int handle_ipCidrRouteNumber(netsnmp_mib_handler* handler,
                             netsnmp_handler_registration* registration,
                             netsnmp_agent_request_info* request,
                             netsnmp_request_info* requests) noexcept;
