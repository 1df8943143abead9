#include "handlers/ip_mib/ip_address_table.h"

#include "handlers/table/table_frame.h"
#include "model/ip_mib.h"

namespace IpSnmp {

struct IpAddressTable {
  using Entity = IpMib;
  using Rows = Entity::IpAddressTableMap;
  using Row = Entity::IpAddressTableIteratorConst;
  using Key = InetAddress;

  static constexpr std::string_view name = "ipAddressTable";
  static constexpr std::array<oid, 8> objectId{1, 3, 6, 1, 2, 1, 4, 34};
  // Every SET is refused, but by the handler, and with its trace.
  static constexpr int modes = HANDLER_CAN_RWRITE;
  static Rows const& rows(Entity const& ipMib) { return ipMib.ipAddressTableMap(); }

  // clang-format off
  static constexpr std::tuple indexes{
      component<IntegerSyntax<Ip::IpVersion>>("ipAddressAddrType", "addrVersion",
          [](Key const& key) { return key.version(); }),
      component<OctetStringSyntax>("ipAddressAddr", "addrBytes",
          [](Key const& key) -> auto const& { return key.bytes(); })};

  // Constant are origin and storage, other(1), and the row status, active(1) (RFC 4293, RFC 2579).
  // When an address came and when it changed is not tracked: both read as the agent's start.
  static constexpr std::array columns{
      column<Conversion::S32ToAsnInteger>(3, "ipAddressIfIndex", "ifIndex",
          [](Row const& row) { return row->ifIndex(); }, MaxAccess::readWrite),
      column<Conversion::S32ToAsnInteger>(4, "ipAddressType", "addressType",
          [](Row const& row) { return row->addressType(); }, MaxAccess::readWrite),
      // Without a prefix row it is genErr; IpAddressTableSm files no address without one.
      column<Conversion::IpAddressPrefixEntryToAsnOid>(5, "ipAddressPrefix", "prefixEntry",
          [](Row const& row) { return row->prefixEntry(); }),
      constant<Conversion::S32ToAsnInteger, 1>(6, "ipAddressOrigin"),
      column<Conversion::S32ToAsnInteger>(7, "ipAddressStatus", "addressStatus",
          [](Row const& row) { return row->addressStatus(); }, MaxAccess::readWrite),
      constant<Conversion::NowSecondsToUptimeTimeTicks, 0>(8, "ipAddressCreated"),
      constant<Conversion::NowSecondsToUptimeTimeTicks, 0>(9, "ipAddressLastChanged"),
      constant<Conversion::S32ToAsnInteger, 1>(10, "ipAddressRowStatus", MaxAccess::readWrite),
      constant<Conversion::S32ToAsnInteger, 1>(11, "ipAddressStorageType", MaxAccess::readWrite)};
  // clang-format on
};

template class TableFunctions<IpAddressTable>;

}  // namespace IpSnmp
