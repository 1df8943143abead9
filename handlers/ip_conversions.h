#pragma once
// The conversions of IP-MIB's and IP-FORWARD-MIB's own values, in the shape of
// platform/snmp/convert.h.

#include <cstdint>

#include "model/ip_address_prefix_entry.h"
#include "platform/dovel/routing_values.h"
#include "platform/state/entities/arp_entry_status.h"

namespace IpSnmp {

/// IpForwarding (RFC 4293): forwarding(1) or notForwarding(2). Of both families: ipv6IpForwarding
/// has the same enumeration.
std::int32_t IpRoutingToAsnInteger(bool routing, unsigned char* buffer, std::int32_t size);

/// ipNetToMediaType (RFC 4293): static(4) or dynamic(3).
std::int32_t ArpEntryStaticToAsnInteger(Arp::ArpEntryStatus const& entry, unsigned char* buffer,
                                        std::int32_t size);

/// The metric's 32 bits as an INTEGER. A priority from 2^31 on shows as a negative number: the
/// column has 32 bits with a sign (RFC 4292).
std::int32_t RouteMetricToAsnInteger(Routing::RouteMetric const& metric, unsigned char* buffer,
                                     std::int32_t size);

/// ipCidrRouteProto (RFC 4292), by the protocol map: other(1) for route types that it does not
/// have.
std::int32_t RouteTypeToAsnInteger(Routing::Fib::RouteType const& routeType, unsigned char* buffer,
                                   std::int32_t size);

/// inetCidrRouteProto (RFC 4292), an IANAipRouteProtocol: other(1) where that has no number.
std::int32_t RouteTypeToInetProtocol(Routing::Fib::RouteType const& routeType,
                                     unsigned char* buffer, std::int32_t size);

/// The RowPointer of ipAddressPrefix (RFC 4293): ipAddressPrefixOrigin in the prefix's row.
/// Unlike the others, it writes nothing and returns 0 when the buffer is too small.
/// RangeException "null ValidPtr" without an entry.
std::int32_t IpAddressPrefixEntryToAsnOid(Mav::Ptr<IpAddressPrefixEntry const> const& entry,
                                          unsigned char* buffer, std::int32_t size);

/// The number of an InetVersion, from an INTEGER of net-snmp. Any number is taken: who makes an
/// InetVersion of it finds out whether there is one.
std::int32_t AsnIntegerToIpVersion(void* value);

}  // namespace IpSnmp
