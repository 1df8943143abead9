#include "handlers/ip_mib/ip_addr_table.h"

#include "handlers/table/table_frame.h"
#include "model/ip_mib.h"

namespace IpSnmp {

struct IpAddrTable {
  using Entity = IpMib;
  using Rows = Entity::IpAddrTableMap;
  using Row = Entity::IpAddrTableIteratorConst;

  static constexpr std::string_view name = "ipAddrTable";
  static constexpr std::array<oid, 8> objectId{1, 3, 6, 1, 2, 1, 4, 20};
  static constexpr int modes = HANDLER_CAN_RONLY;
  static Rows const& rows(Entity const& ipMib) { return ipMib.ipAddrTableMap(); }

  // As octets of implied length: what net-snmp 5.9.3 makes of an IpAddress stands the wrong way
  // round on a little-endian machine (IpAddressSyntax).
  static constexpr std::tuple indexes{component<IpAddressSyntax<>>(
      "ipAdEntAddr", "ipAdEntAddr", [](Dovel::IpAddr const& key) { return key; })};

  // Linux puts fragments together up to 65535 octets, which no datagram exceeds (RFC 791;
  // net/ipv4/ip_fragment.c).
  // clang-format off
  static constexpr std::array columns{
      column<Conversion::DovelIpAddrToAsnOctetString>(1, "ipAdEntAddr", "ipAdEntAddr",
          [](Row const& row) { return row->masterEntry()->ipAdEntAddr(); }),
      column<Conversion::S32ToAsnInteger>(2, "ipAdEntIfIndex", "ipAdEntIfIndex",
          [](Row const& row) { return row->masterEntry()->ifIndex(); }),
      column<Conversion::DovelIpAddrToAsnOctetString>(3, "ipAdEntNetMask", "ipAdEntNetMask",
          [](Row const& row) { return row->ipAdEntNetMask(); }),
      constant<Conversion::S32ToAsnInteger, 0>(4, "ipAdEntBcastAddr"),
      constant<Conversion::S32ToAsnInteger, 65535>(5, "ipAdEntReasmMaxSize")};
  // clang-format on
};

template class TableFunctions<IpAddrTable>;

}  // namespace IpSnmp
