#pragma once
// The one body of ipCidrRouteNumber and inetCidrRouteNumber (RFC 4292): the number of rows of their
// tables, as a Gauge32. They differ by name and collection.

#include <cstddef>

#include "platform/snmp/net_snmp.h"

namespace IpSnmp {

/// What such a scalar calls itself and what it counts, in traces.
struct CidrRouteNumber {
  char const* object;   // "ipCidrRouteNumber"
  char const* handler;  // "handle_ipCidrRouteNumber"
  char const* rows;     // "ipCidrRouteTables"
};

inline constexpr CidrRouteNumber ipCidrRouteNumber{"ipCidrRouteNumber", "handle_ipCidrRouteNumber",
                                                   "ipCidrRouteTables"};
inline constexpr CidrRouteNumber inetCidrRouteNumber{
    "inetCidrRouteNumber", "handle_inetCidrRouteNumber", "inetCidrRoutes"};

/// Answers a request of net-snmp mode `mode`; `rows` is null when the entity is absent. Acts on the
/// first request: the scalar helper delivers one. Returns the handler's status.
int answerCidrRouteNumber(CidrRouteNumber const& scalar, std::size_t const* rows, int mode,
                          netsnmp_request_info* requests);

}  // namespace IpSnmp
