#pragma once
// Decoders of the values that net-snmp parses out of instances and requests, the reverse of
// convert.h. Each takes the `val` of a variable of that type, in this machine's layout; a
// RangeException says that the value does not fit.
//
// What comes in is a manager's, or an index that net-snmp parsed out of an instance: any 32-bit
// number can stand where the MIB allows fewer. Nothing is cut to fit. On the agent's thread.

#include <cstdint>
#include <string>

#include "platform/dovel/ip_addr.h"
#include "platform/dovel/snmp_string.h"
#include "platform/snmp/net_snmp.h"

namespace Snmp {

/// INTEGER, which net-snmp holds as a long. RangeException beyond 32 bits with a sign: a
/// sub-identifier from 2^31 on comes as such a number.
std::int32_t AsnIntegerToS32(void const* value);
/// Unsigned32, which net-snmp holds as an unsigned long.
std::uint32_t AsnUnsignedToU32(void const* value);
/// IpAddress: 4 octets.
Dovel::IpAddr AsnIpAddressToDovelIpAddr(void const* value);
/// OCTET STRING.
Snmp::String AsnOctetStringToSnmpString(void const* value, std::size_t length);

/// RangeException unless the variable has the length of an INTEGER.
void checkInteger(netsnmp_variable_list const& variable);

/// What a variable holds, whatever its type is, for traces: a number, or octets in hexadecimal.
std::string printedValue(netsnmp_variable_list const& variable);

/// The same of a whole variable, with its length checked as well.
std::int32_t decodeInteger(netsnmp_variable_list const& variable);
std::uint32_t decodeUnsigned(netsnmp_variable_list const& variable);
Dovel::IpAddr decodeIpAddress(netsnmp_variable_list const& variable);
Snmp::String decodeOctetString(netsnmp_variable_list const& variable);

}  // namespace Snmp
