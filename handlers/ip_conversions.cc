#include "handlers/ip_conversions.h"

#include "platform/snmp/convert.h"

std::int32_t IpRoutingToAsnInteger(bool routing, unsigned char* buffer, std::int32_t size) {
  return Snmp::SnmpConvert<int, Snmp::S32ToAsnIntegerF>(routing ? 1 : 2, buffer, size);
}
