#pragma once
// The columns of a table, as data, so that a handler unit reads like the MIB:
//
//   static constexpr std::array columns{
//       column<Conversion::S32ToAsnInteger>(3, "ipAddressIfIndex", "ifIndex",
//                                           [](Row const& row) { return row->ifIndex(); },
//                                           MaxAccess::readWrite),
//       constant<Conversion::S32ToAsnInteger, 1>(6, "ipAddressOrigin"),
//       ...
//
// A Row is the table's iterator on a row: `row.key()`, `row->attribute()`.
//
// The list stands in ascending order of the numbers, which a walk relies on. It is made while
// compiling: a value costs one call through a plain pointer.

#include <cstdint>

#include "handlers/ip_conversions.h"
#include "platform/snmp/convert.h"
#include "platform/snmp/net_snmp.h"

namespace IpSnmp {

/// As the MIB declares it. Every SET is refused; only the trace differs. An object that is
/// not-accessible (an index) is no column here.
enum class MaxAccess { readOnly, readWrite };

struct TableColumn {
  /// The last sub-identifier of the column's OID.
  unsigned number;
  char const* name;
  /// Of the value on the wire, as the MIB has the object.
  unsigned char type;      // ASN
  char const* conversion;  // for traces
  char const* attribute;   // for traces; empty of a constant
  MaxAccess access;
  /// How many bytes a value may have; a longer one is genErr. At most columnBufferSizeMax, which is
  /// what a handler has room for.
  std::int32_t bufferSize;
  /// Of a row in the shape of convert.h. `row` is what the table's data contexts point to.
  std::int32_t (*convert)(void const* row, unsigned char* buffer, std::int32_t size);

  /// The same column, whose value may have `size` bytes.
  constexpr TableColumn withBuffer(std::int32_t size) const {
    auto changed = *this;
    changed.bufferSize = size;
    return changed;
  }
};

// A name of 128 sub-identifiers takes half of the first. The second is the longest OCTET STRING
// (RFC 2578 section 7.1.2).
inline constexpr std::int32_t columnBufferSize = 1024;
inline constexpr std::int32_t columnBufferSizeMax = 65535;

/// The conversions by their names, with the ASN type that each is mostly used for. A type and not a
/// value, so that a column's converter is one plain function for each use. `name` is what a trace
/// calls it.
namespace Conversion {

/// Of platform/snmp/convert.h. T is what F takes: the attribute is cast to it, an enumeration to
/// its number.
template <class T, class F, unsigned char asnType>
struct Platform {
  static constexpr unsigned char type = asnType;
  template <class Value>
  static std::int32_t convert(Value const& value, unsigned char* buffer, std::int32_t size) {
    return Snmp::SnmpConvert<T, F>(static_cast<T>(value), buffer, size);
  }
};

/// Of ip_conversions.h. The function takes the attribute as it is.
template <auto function, unsigned char asnType>
struct Own {
  static constexpr unsigned char type = asnType;
  template <class Value>
  static std::int32_t convert(Value const& value, unsigned char* buffer, std::int32_t size) {
    return function(value, buffer, size);
  }
};

// ASN_INTEGER also of Integer32 and of enumerations; ASN_UNSIGNED of Gauge32 and Unsigned32, which
// are one type on the wire (RFC 2578 section 2).
struct S32ToAsnInteger : Platform<int, Snmp::S32ToAsnIntegerF, ASN_INTEGER> {
  static constexpr char const* name = "S32ToAsnInteger";
};
struct U32ToAsnUnsigned : Platform<unsigned int, Snmp::U32ToAsnUnsignedF, ASN_UNSIGNED> {
  static constexpr char const* name = "U32ToAsnUnsigned";
};
/// The lower half of a count, which wraps (RFC 2578 section 7.1.6).
struct U64ToCounter32 : Platform<std::uint64_t, Snmp::U64ToCounter32F, ASN_COUNTER> {
  static constexpr char const* name = "U64ToCounter32";
};
struct U64ToCounter64 : Platform<std::uint64_t, Snmp::U64ToCounter64F, ASN_COUNTER64> {
  static constexpr char const* name = "U64ToCounter64";
};
struct StringToAsnOctetString
    : Platform<Mav::String8 const&, Snmp::StringToAsnOctetStringF, ASN_OCTET_STR> {
  static constexpr char const* name = "StringToAsnOctetString";
};
struct StringToAsnOid : Platform<Mav::String8 const&, Snmp::StringToAsnOidF, ASN_OBJECT_ID> {
  static constexpr char const* name = "StringToAsnOid";
};
/// A time of Mav::now(). ipAddressCreated and ipAddressLastChanged tell it of 0, before any start.
struct NowSecondsToUptimeTimeTicks
    : Platform<double, Snmp::NowSecondsToUptimeTimeTicksF, ASN_TIMETICKS> {
  static constexpr char const* name = "NowSecondsToUptimeTimeTicks";
};
/// A duration, as the publisher's time since its start.
struct SecondsToTimeTicks : Platform<double, Snmp::SecondsToTimeTicksF, ASN_TIMETICKS> {
  static constexpr char const* name = "SecondsToTimeTicks";
};
/// An IpAddress. As a component of an index it has a Syntax (table_index.h).
struct DovelIpAddrToAsnOctetString
    : Platform<Dovel::IpAddr const&, Snmp::DovelIpAddrToAsnOctetStringF, ASN_IPADDRESS> {
  static constexpr char const* name = "DovelIpAddrToAsnOctetString";
};
/// The PhysAddress of ipNetToMediaTable, whose entities know of Ethernet alone.
struct DovelEthAddrToAsnOctetString
    : Platform<Dovel::EthAddr const&, Snmp::DovelEthAddrToAsnOctetStringF, ASN_OCTET_STR> {
  static constexpr char const* name = "DovelEthAddrToAsnOctetString";
};
/// That of ipNetToPhysicalTable, of any length.
struct DovelLinkAddrToAsnOctetString
    : Platform<Dovel::LinkAddr const&, Snmp::DovelLinkAddrToAsnOctetStringF, ASN_OCTET_STR> {
  static constexpr char const* name = "DovelLinkAddrToAsnOctetString";
};
/// A time of the machine, which a daemon that starts later has as 0.
struct BootTimeToUptimeTimeTicks
    : Platform<std::uint64_t, Snmp::BootTimeToUptimeTimeTicksF, ASN_TIMETICKS> {
  static constexpr char const* name = "BootTimeToUptimeTimeTicks";
};
/// Of the neighbour, not of a flag of it: the attribute is looked up in the entity once.
struct ArpEntryStaticToAsnInteger : Own<IpSnmp::ArpEntryStaticToAsnInteger, ASN_INTEGER> {
  static constexpr char const* name = "ArpEntryStaticToAsnInteger";
};
struct RouteMetricToAsnInteger : Own<IpSnmp::RouteMetricToAsnInteger, ASN_INTEGER> {
  static constexpr char const* name = "RouteMetricToAsnInteger";
};
/// ipCidrRouteProto; RouteTypeToInetProtocol is inetCidrRouteProto, which has more numbers.
struct RouteTypeToAsnInteger : Own<IpSnmp::RouteTypeToAsnInteger, ASN_INTEGER> {
  static constexpr char const* name = "RouteTypeToAsnInteger";
};
struct RouteTypeToInetProtocol : Own<IpSnmp::RouteTypeToInetProtocol, ASN_INTEGER> {
  static constexpr char const* name = "RouteTypeToInetProtocol";
};
/// A RowPointer into ipAddressPrefixTable.
struct IpAddressPrefixEntryToAsnOid : Own<IpSnmp::IpAddressPrefixEntryToAsnOid, ASN_OBJECT_ID> {
  static constexpr char const* name = "IpAddressPrefixEntryToAsnOid";
};

}  // namespace Conversion

// The row that a getter takes, by the type of its one parameter: a column names it no second time.
namespace Detail {
template <class>
struct RowOf;
template <class Get, class Value, class Row>
struct RowOf<Value (Get::*)(Row const&) const> {
  using Type = Row;
};
}  // namespace Detail

/// A column that is an attribute of its row. `get` captures nothing. `attribute` is the name in the
/// model, which the trace of a conversion that failed tells.
template <class Conv, class Get>
constexpr TableColumn column(unsigned number, char const* name, char const* attribute,
                             Get const& /*get*/, MaxAccess access = MaxAccess::readOnly) {
  using Row = typename Detail::RowOf<decltype(&Get::operator())>::Type;
  return {number,
          name,
          Conv::type,
          Conv::name,
          attribute,
          access,
          columnBufferSize,
          [](void const* row, unsigned char* buffer, std::int32_t size) {
            // A lambda that captures nothing is made again from its type: this one has to be a
            // plain function.
            return Conv::convert(Get()(*static_cast<Row const*>(row)), buffer, size);
          }};
}

/// A column that is the same in every row. Its value costs no look at the row.
template <class Conv, auto value>
constexpr TableColumn constant(unsigned number, char const* name,
                               MaxAccess access = MaxAccess::readOnly) {
  return {number,
          name,
          Conv::type,
          Conv::name,
          "",
          access,
          columnBufferSize,
          [](void const* /*row*/, unsigned char* buffer, std::int32_t size) {
            return Conv::convert(value, buffer, size);
          }};
}

}  // namespace IpSnmp
