#pragma once
// The handler unit of BRIVET-KELBASE-MIB: registers its scalars and brivetKelbaseRecordsTable with
// net-snmp and answers their requests from IpSnmp::Health, which it finds by path. All on snmpd's
// thread.

#include "platform/snmp/net_snmp.h"

/// Registers the unit's objects.
void init_KelbaseHealth();

/// net-snmp handler callback of all the scalars: `handler->myvoid` says which it is. Reads the
/// entity in `registration->my_reg_void`, which it does not own. What it cannot tell is genErr: a
/// value that was never known is not made up.
int handle_kelbaseHealth(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                         netsnmp_agent_request_info* request,
                         netsnmp_request_info* requests) noexcept;
