#include "platform/snmp/decode.h"

#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "platform/mav/exception.h"

namespace Snmp {

namespace {

// net-snmp keeps each INTEGER and Unsigned32 of a variable in a long of this machine
// (net-snmp/types.h, netsnmp_vardata).
template <class Long>
Long word(void const* value) {
  Long number = 0;
  // `val` is a union of pointers: nothing promises that it is aligned for a long.
  std::memcpy(&number, value, sizeof number);
  return number;
}

template <class Narrow, class Long>
Narrow narrowed(Long number) {
  using Limits = std::numeric_limits<Narrow>;
  if (number < Long{Limits::min()} || number > Long{Limits::max()}) {
    throw Mav::RangeException(std::to_string(number) + " is not within " +
                              std::to_string(Limits::min()) + " to " +
                              std::to_string(Limits::max()));
  }
  return static_cast<Narrow>(number);
}

void checkLength(netsnmp_variable_list const& variable, std::size_t length, std::string_view what) {
  // Before a value is read: a variable without one has a null pointer, or a length of 0.
  if (variable.val.string && variable.val_len == length) return;
  throw Mav::RangeException(std::string(what) + " of " + std::to_string(variable.val_len) +
                            " octets");
}

}  // namespace

std::int32_t AsnIntegerToS32(void const* value) {
  return narrowed<std::int32_t>(word<long>(value));
}

std::uint32_t AsnUnsignedToU32(void const* value) {
  return narrowed<std::uint32_t>(word<unsigned long>(value));
}

Dovel::IpAddr AsnIpAddressToDovelIpAddr(void const* value) {
  return Dovel::IpAddr::fromNetworkOrder(word<std::uint32_t>(value));
}

Snmp::String AsnOctetStringToSnmpString(void const* value, std::size_t length) {
  return Snmp::String(std::string_view(static_cast<char const*>(value), length));
}

void checkInteger(netsnmp_variable_list const& variable) {
  checkLength(variable, sizeof(long), "an INTEGER");
}

std::string printedValue(netsnmp_variable_list const& variable) {
  // By the type that the variable has, not the one that is wanted: the trace shows what came.
  bool const isNumber = variable.type == ASN_INTEGER || variable.type == ASN_UNSIGNED;
  if (isNumber && variable.val_len == sizeof(long)) return std::to_string(*variable.val.integer);
  std::string text;
  for (std::size_t i = 0; variable.val.string && i < variable.val_len; ++i) {
    text += fmt::format("{}{:02x}", i > 0 ? " " : "", variable.val.string[i]);
  }
  return text;
}

std::int32_t decodeInteger(netsnmp_variable_list const& variable) {
  checkInteger(variable);
  return AsnIntegerToS32(variable.val.string);
}

std::uint32_t decodeUnsigned(netsnmp_variable_list const& variable) {
  checkLength(variable, sizeof(long), "an Unsigned32");
  return AsnUnsignedToU32(variable.val.string);
}

Dovel::IpAddr decodeIpAddress(netsnmp_variable_list const& variable) {
  checkLength(variable, 4, "an IpAddress");
  return AsnIpAddressToDovelIpAddr(variable.val.string);
}

Snmp::String decodeOctetString(netsnmp_variable_list const& variable) {
  // An empty string may come without octets to point to.
  if (variable.val_len == 0) return {};
  return AsnOctetStringToSnmpString(variable.val.string, variable.val_len);
}

}  // namespace Snmp
