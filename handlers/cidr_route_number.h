#pragma once
// ipCidrRouteNumber (RFC 4292): the number of rows of ipCidrRouteTable, as a Gauge32.

#include <cstddef>

#include "platform/snmp/net_snmp.h"

namespace IpSnmp {

/// Answers a request of net-snmp mode `mode`; `rows` is null when the entity is absent. Acts on the
/// first request: the scalar helper delivers one. Returns the handler's status.
int answerCidrRouteNumber(std::size_t const* rows, int mode, netsnmp_request_info* requests);

}  // namespace IpSnmp
