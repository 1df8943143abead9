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

#include <cstdint>

#include "handlers/ip_conversions.h"
#include "platform/snmp/convert.h"
#include "platform/snmp/net_snmp.h"

/// As the MIB declares it. Every SET is refused; only the trace differs.
enum class MaxAccess { readOnly, readWrite };

struct TableColumn {
  unsigned number;
  char const* name;
  unsigned char type;      // ASN
  char const* conversion;  // for traces
  char const* attribute;   // for traces; empty of a constant
  MaxAccess access;
  std::int32_t bufferSize;
  /// Of a row in the shape of convert.h. `row` is what the table's data contexts point to.
  std::int32_t (*convert)(void const* row, unsigned char* buffer, std::int32_t size);

  constexpr TableColumn withBuffer(std::int32_t size) const {
    auto changed = *this;
    changed.bufferSize = size;
    return changed;
  }
};

inline constexpr std::int32_t columnBufferSize = 1024;
inline constexpr std::int32_t columnBufferSizeMax = 65535;

/// The conversions by their names, with the ASN type that each is mostly used for.
namespace Conversion {

#define OVO_CONVERSION(conversion, asnType, call)                                               \
  struct conversion {                                                                           \
    static constexpr char const* name = #conversion;                                            \
    static constexpr unsigned char type = asnType;                                              \
    template <class Value>                                                                      \
    static std::int32_t convert(Value const& value, unsigned char* buffer, std::int32_t size) { \
      return call;                                                                              \
    }                                                                                           \
  };
#define OVO_PLATFORM_CONVERSION(conversion, asnType, T) \
  OVO_CONVERSION(conversion, asnType,                   \
                 (Snmp::SnmpConvert<T, Snmp::conversion##F>(static_cast<T>(value), buffer, size)))
#define OVO_OWN_CONVERSION(conversion, asnType) \
  OVO_CONVERSION(conversion, asnType, ::conversion(value, buffer, size))

OVO_PLATFORM_CONVERSION(S32ToAsnInteger, ASN_INTEGER, int)
OVO_PLATFORM_CONVERSION(U32ToAsnUnsigned, ASN_UNSIGNED, unsigned int)
OVO_PLATFORM_CONVERSION(U64ToCounter32, ASN_COUNTER, std::uint64_t)
OVO_PLATFORM_CONVERSION(U64ToCounter64, ASN_COUNTER64, std::uint64_t)
OVO_PLATFORM_CONVERSION(StringToAsnOctetString, ASN_OCTET_STR, Mav::String8 const&)
OVO_PLATFORM_CONVERSION(StringToAsnOid, ASN_OBJECT_ID, Mav::String8 const&)
OVO_PLATFORM_CONVERSION(NowSecondsToUptimeTimeTicks, ASN_TIMETICKS, double)
OVO_PLATFORM_CONVERSION(SecondsToTimeTicks, ASN_TIMETICKS, double)
OVO_PLATFORM_CONVERSION(DovelIpAddrToAsnOctetString, ASN_IPADDRESS, Dovel::IpAddr const&)
OVO_PLATFORM_CONVERSION(DovelEthAddrToAsnOctetString, ASN_OCTET_STR, Dovel::EthAddr const&)
OVO_OWN_CONVERSION(ArpEntryStaticToAsnInteger, ASN_INTEGER)
OVO_OWN_CONVERSION(RouteMetricToAsnInteger, ASN_INTEGER)
OVO_OWN_CONVERSION(RouteTypeToAsnInteger, ASN_INTEGER)
OVO_OWN_CONVERSION(IpAddressPrefixEntryToAsnOid, ASN_OBJECT_ID)

#undef OVO_OWN_CONVERSION
#undef OVO_PLATFORM_CONVERSION
#undef OVO_CONVERSION

}  // namespace Conversion

namespace Detail {
template <class>
struct RowOf;
template <class Get, class Value, class Row>
struct RowOf<Value (Get::*)(Row const&) const> {
  using Type = Row;
};
}  // namespace Detail

/// A column that is an attribute of its row. `get` captures nothing.
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
            return Conv::convert(Get()(*static_cast<Row const*>(row)), buffer, size);
          }};
}

/// A column that is the same in every row.
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
