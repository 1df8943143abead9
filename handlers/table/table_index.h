#pragma once
// The index components of a table, as data. A component is declared with its name, the attribute
// of the key that it is, and how to get it from a key:
//
//   static constexpr std::tuple indexes{
//       component<IntegerSyntax<Ip::IpVersion>>("ipAddressAddrType", "addrVersion",
//                                               [](auto const& key) { return key.version(); }),
//       component<OctetStringSyntax>("ipAddressAddr", "addrBytes",
//                                    [](auto const& key) { return key.bytes(); })};
//
// A Syntax is what sets the kinds apart: the ASN types, the sub-identifiers of a value (visit, for
// Snmp::InstanceOrder and Snmp::InstanceWriter), and its way from and to a variable of net-snmp.
// The table is registered with declaredType, and a hint must have it; as valueType an index is told
// to net-snmp's iterator. The two differ in IpAddressSyntax alone.
//
// The order of the sub-identifiers that visit() tells is the order of the collection's keys: rows
// are found by it, and steps from row to row rely on it. Where the two differed, a manager would
// miss rows, or be told a name that does not increase.

#include <cstdint>
#include <string>
#include <type_traits>

#include "handlers/ip_conversions.h"
#include "platform/mav/exception.h"
#include "platform/mav/type_name.h"
#include "platform/snmp/convert.h"
#include "platform/snmp/decode.h"
#include "platform/snmp/instance_order.h"
#include "stats/ip_version.h"

namespace IpSnmp {

/// INTEGER, of an unsigned number or of Ip::IpVersion.
template <class T = std::uint32_t>
struct IntegerSyntax {
  using Value = T;
  static constexpr unsigned char declaredType = ASN_INTEGER;
  static constexpr unsigned char valueType = ASN_INTEGER;

  /// RangeException for what is no such value. A version that does not exist is one, too.
  static Value decode(netsnmp_variable_list const& variable) {
    // Only integers that are not negative have an instance (RFC 2578 section 7.7).
    auto const number = decodeNumber(variable);
    if (number < 0) throw Mav::RangeException(std::to_string(number) + " is negative");
    if constexpr (std::is_same_v<T, Ip::IpVersion>) {
      return Ip::IpVersionInstance(static_cast<std::uint32_t>(number));
    } else {
      return static_cast<T>(number);
    }
  }
  template <class Visitor>
  static void visit(Visitor& visitor, Value value) {
    visitor.add(static_cast<std::uint32_t>(value));
  }
  static std::int32_t convert(Value value, unsigned char* buffer, std::int32_t size) {
    // It fits: an InterfaceIndex has 31 bits (RFC 2863), and the other numbers are small.
    return Snmp::S32ToAsnIntegerF()(static_cast<int>(value), buffer, size);
  }

 private:
  static std::int32_t decodeNumber(netsnmp_variable_list const& variable) {
    if constexpr (std::is_same_v<T, Ip::IpVersion>) {
      Snmp::checkInteger(variable);
      return AsnIntegerToIpVersion(variable.val.string);
    } else {
      return Snmp::decodeInteger(variable);
    }
  }
};

/// Unsigned32. An InetAddressPrefixLength, say: in an instance one sub-identifier, of all its 32
/// bits.
struct UnsignedSyntax {
  using Value = std::uint32_t;
  static constexpr unsigned char declaredType = ASN_UNSIGNED;
  static constexpr unsigned char valueType = ASN_UNSIGNED;

  static Value decode(netsnmp_variable_list const& variable) {
    return Snmp::decodeUnsigned(variable);
  }
  template <class Visitor>
  static void visit(Visitor& visitor, Value value) {
    visitor.add(value);
  }
  static std::int32_t convert(Value value, unsigned char* buffer, std::int32_t size) {
    return Snmp::U32ToAsnUnsignedF()(value, buffer, size);
  }
};

/// IpAddress: four sub-identifiers and no length, whether the value is set as an IpAddress or as a
/// string of implied length. (What net-snmp 5.9.3 itself makes of the former has its octets from
/// the last to the first, on a little-endian machine. The row server writes instances by visit().)
/// As octets where nothing else is said: net-snmp's iterator then writes them in their order.
template <unsigned char ValueType = ASN_PRIV_IMPLIED_OCTET_STR>
struct IpAddressSyntax {
  using Value = Dovel::IpAddr;
  static constexpr unsigned char declaredType = ASN_IPADDRESS;
  // The only one that a table chooses: what net-snmp's iterator makes of the value depends on it.
  static constexpr unsigned char valueType = ValueType;

  static Value decode(netsnmp_variable_list const& variable) {
    return Snmp::decodeIpAddress(variable);
  }
  template <class Visitor>
  static void visit(Visitor& visitor, Value value) {
    for (auto const octet : value.octets()) visitor.add(octet);
  }
  static std::int32_t convert(Value value, unsigned char* buffer, std::int32_t size) {
    return Snmp::DovelIpAddrToAsnOctetStringF()(value, buffer, size);
  }
};

/// OCTET STRING of variable length: its length comes first in the instance (RFC 2578 section 7.7),
/// so that short strings come before long ones. Snmp::String orders so, too.
struct OctetStringSyntax {
  using Value = Snmp::String;
  static constexpr unsigned char declaredType = ASN_OCTET_STR;
  static constexpr unsigned char valueType = ASN_OCTET_STR;

  static Value decode(netsnmp_variable_list const& variable) {
    return Snmp::decodeOctetString(variable);
  }
  template <class Visitor>
  static void visit(Visitor& visitor, Value const& value) {
    visitor.add(static_cast<std::uint32_t>(value.size()));
    for (auto const octet : value) visitor.add(octet);
  }
  static std::int32_t convert(Value const& value, unsigned char* buffer, std::int32_t size) {
    return Snmp::writeBytes(value.data(), value.size(), buffer, size);
  }
};

/// One component. `get` captures nothing, and gives a value, or a reference into the key.
template <class SyntaxType, class Get>
struct TableIndex {
  using Syntax = SyntaxType;

  char const* name;       // in the MIB
  char const* attribute;  // of the key
  Get get;                // of the value, from a key
};

/// What a table is written with. `name` and `attribute` are literals; traces tell them.
template <class Syntax, class Get>
constexpr TableIndex<Syntax, Get> component(char const* name, char const* attribute, Get get) {
  return {name, attribute, get};
}

}  // namespace IpSnmp
