#pragma once
// The IP version of an address or a counter, numbered as InetAddressType and InetVersion
// (RFC 4001) have it on the wire.
//
// ipv4z(3) and ipv6z(4) are addresses with a zone and no versions: counters have none of them.

#include "platform/mav/enumeration.h"

namespace Ip {

MAV_ENUM(IpVersion, (ipVersionUnknown, 0), (ipVersion4, 1), (ipVersion6, 2))

}  // namespace Ip
