#include "handlers/ip_mib/ip_net_to_media_table.h"

#include "handlers/table/table_frame.h"
#include "model/ip_mib.h"

namespace IpSnmp {

struct IpNetToMediaTable {
  using Entity = IpMib;
  using Rows = Entity::ArpTableMap;
  using Row = Entity::ArpTableIteratorConst;
  using Key = ArpTableIndex;

  static constexpr std::string_view name = "ipNetToMediaTable";
  static constexpr std::array<oid, 8> objectId{1, 3, 6, 1, 2, 1, 4, 22};
  // Every SET is refused, but by the handler, and with its trace.
  static constexpr int modes = HANDLER_CAN_RWRITE;
  static Rows const& rows(Entity const& ipMib) { return ipMib.arpTableMap(); }

  // clang-format off
  static constexpr std::tuple indexes{
      component<IntegerSyntax<>>("ipNetToMediaIfIndex", "ifIndex",
          [](Key const& key) { return key.ifIndex(); }),
      component<IpAddressSyntax<>>("ipNetToMediaNetAddress", "netAddress",
          [](Key const& key) { return key.ipAddr(); })};

  static constexpr std::array columns{
      column<Conversion::S32ToAsnInteger>(1, "ipNetToMediaIfIndex", "ifIndex",
          [](Row const& row) { return row.key().ifIndex(); }, MaxAccess::readWrite),
      column<Conversion::DovelEthAddrToAsnOctetString>(2, "ipNetToMediaPhysAddress", "physAddress",
          [](Row const& row) { return row->physAddress(); }, MaxAccess::readWrite)
          .withBuffer(columnBufferSizeMax),
      column<Conversion::DovelIpAddrToAsnOctetString>(3, "ipNetToMediaNetAddress", "netAddress",
          [](Row const& row) { return row.key().ipAddr(); }, MaxAccess::readWrite),
      column<Conversion::ArpEntryStaticToAsnInteger>(4, "ipNetToMediaType", "arpEntry",
          [](Row const& row) { return row->arpEntry(); }, MaxAccess::readWrite)};
  // clang-format on
};

template class TableFunctions<IpNetToMediaTable>;

}  // namespace IpSnmp
