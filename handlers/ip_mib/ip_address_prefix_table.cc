#include "handlers/ip_mib/ip_address_prefix_table.h"

#include "handlers/table/table_frame.h"
#include "model/ip_mib.h"

namespace IpSnmp {

struct IpAddressPrefixTable {
  using Entity = IpMib;
  using Rows = Entity::IpAddressPrefixTableMap;
  using Row = Entity::IpAddressPrefixTableIteratorConst;
  using Key = IpAddressPrefixKey;

  static constexpr std::string_view name = "ipAddressPrefixTable";
  static constexpr std::array<oid, 8> objectId{1, 3, 6, 1, 2, 1, 4, 32};
  static constexpr int modes = HANDLER_CAN_RONLY;
  // RFC 4293, ipAddressPrefixAdvValidLifetime.
  static constexpr std::uint32_t infinite = 4294967295;  // of a lifetime, in seconds
  static Rows const& rows(Entity const& ipMib) { return ipMib.ipAddressPrefixTableMap(); }

  // clang-format off
  static constexpr std::tuple indexes{
      component<IntegerSyntax<>>("ipAddressPrefixIfIndex", "ifIndex",
          [](Key const& key) { return key.ifIndex(); }),
      component<IntegerSyntax<Ip::IpVersion>>("ipAddressPrefixType", "version",
          [](Key const& key) { return key.version(); }),
      component<OctetStringSyntax>("ipAddressPrefixPrefix", "bytes",
          [](Key const& key) -> auto const& { return key.bytes(); }),
      component<UnsignedSyntax>("ipAddressPrefixLength", "length",
          [](Key const& key) { return key.length(); })};

  // Column 5 is where the RowPointers of ipAddressTable lead: the first that can be read.
  static constexpr std::array columns{
      constant<Conversion::S32ToAsnInteger, 1>(5, "ipAddressPrefixOrigin"),          // other
      constant<Conversion::S32ToAsnInteger, 1>(6, "ipAddressPrefixOnLinkFlag"),      // true
      constant<Conversion::S32ToAsnInteger, 2>(7, "ipAddressPrefixAutonomousFlag"),  // false
      constant<Conversion::U32ToAsnUnsigned, infinite>(8, "ipAddressPrefixAdvPreferredLifetime"),
      constant<Conversion::U32ToAsnUnsigned, infinite>(9, "ipAddressPrefixAdvValidLifetime")};
  // clang-format on
};

template class TableFunctions<IpAddressPrefixTable>;

}  // namespace IpSnmp
