#include "handlers/ip_mib/ip_net_to_physical_table.h"

#include "handlers/table/inet_index.h"
#include "handlers/table/table_frame.h"
#include "model/ip_mib.h"

namespace IpSnmp {

struct IpNetToPhysicalTable {
  using Entity = IpMib;
  using Rows = Entity::IpNetToPhysicalTableMap;
  using Row = Entity::IpNetToPhysicalTableIteratorConst;
  using Key = IpNetToPhysicalIndex;

  static constexpr std::string_view name = "ipNetToPhysicalTable";
  static constexpr std::array<oid, 8> objectId{1, 3, 6, 1, 2, 1, 4, 35};
  // Every SET is refused, but by the handler, and with its trace.
  static constexpr int modes = HANDLER_CAN_RWRITE;
  static Rows const& rows(Entity const& ipMib) { return ipMib.ipNetToPhysicalTableMap(); }

  // clang-format off
  static constexpr std::tuple indexes{
      component<IntegerSyntax<>>("ipNetToPhysicalIfIndex", "ifIndex",
          [](Key const& key) { return key.ifIndex(); }),
      component<IntegerSyntax<>>("ipNetToPhysicalNetAddressType", "netAddressType",
          [](Key const& key) { return key.netAddress().type(); }),
      component<InetAddressSyntax>("ipNetToPhysicalNetAddress", "netAddress",
          [](Key const& key) -> auto const& { return key.netAddress(); })};

  // Constant is the row status: active(1) (RFC 2579) as long as the row is there.
  static constexpr std::array columns{
      column<Conversion::DovelLinkAddrToAsnOctetString>(4, "ipNetToPhysicalPhysAddress",
          "physAddress", [](Row const& row) { return row->physAddress; }, MaxAccess::readWrite),
      // A time on the machine's clock, so that a row at rest reads the same each time.
      column<Conversion::BootTimeToUptimeTimeTicks>(5, "ipNetToPhysicalLastUpdated", "updatedAt",
          [](Row const& row) { return row->updatedAt; }),
      column<Conversion::S32ToAsnInteger>(6, "ipNetToPhysicalType", "type",
          [](Row const& row) { return row->type; }, MaxAccess::readWrite),
      column<Conversion::S32ToAsnInteger>(7, "ipNetToPhysicalState", "state",
          [](Row const& row) { return row->state; }),
      constant<Conversion::S32ToAsnInteger, 1>(8, "ipNetToPhysicalRowStatus",
          MaxAccess::readWrite)};
  // clang-format on
};

template class TableFunctions<IpNetToPhysicalTable>;

}  // namespace IpSnmp
