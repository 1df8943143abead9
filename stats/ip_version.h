#pragma once
// The IP version of an address or a counter, numbered as InetAddressType and InetVersion
// (RFC 4001) have it on the wire.

#include "platform/mav/enumeration.h"

namespace Ip {

MAV_ENUM(IpVersion, (ipVersionUnknown, 0), (ipVersion4, 1), (ipVersion6, 2))

}  // namespace Ip
