#pragma once
// The conversions of IP-MIB's own values, in the shape of platform/snmp/convert.h.

#include <cstdint>

/// IpForwarding (RFC 4293): forwarding(1) or notForwarding(2).
std::int32_t IpRoutingToAsnInteger(bool routing, unsigned char* buffer, std::int32_t size);
