#pragma once
// The handler unit of IP-MIB: registers its objects with net-snmp and answers their requests from
// the entities that it finds by path. All on snmpd's thread.

#include "platform/snmp/net_snmp.h"

/// Registers the scalars ipForwarding and ipv6IpForwarding, and the tables of IP-MIB. Called at
/// each registration (Snmp::Framework), by way of a static object of this unit.
void init_IpBase();

/// net-snmp handler callbacks. They read the entity in `registration->my_reg_void`, which they do
/// not own, and refuse every SET with notWritable. Without an entity, when no publisher has ever
/// told the flag, they answer genErr.
int handle_ipForwarding(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                        netsnmp_agent_request_info* request,
                        netsnmp_request_info* requests) noexcept;
int handle_ipv6IpForwarding(netsnmp_mib_handler* handler,
                            netsnmp_handler_registration* registration,
                            netsnmp_agent_request_info* request,
                            netsnmp_request_info* requests) noexcept;
