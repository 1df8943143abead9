#include "handlers/ip_forward_mib/ip_cidr_route_table.h"

#include "handlers/table/table_frame.h"
#include "model/ip_forward_mib.h"

namespace IpSnmp {

struct IpCidrRouteTable {
  using Entity = IpForwardMib;
  using Rows = Entity::IpCidrRouteTableMap;
  using Row = Entity::IpCidrRouteTableIteratorConst;
  using Key = IpCidrRouteTableIndex;

  static constexpr std::string_view name = "ipCidrRouteTable";
  static constexpr std::array<oid, 9> objectId{1, 3, 6, 1, 2, 1, 4, 24, 4};
  // Every SET is refused, but by the handler, and with its trace.
  static constexpr int modes = HANDLER_CAN_RWRITE;
  static Rows const& rows(Entity const& ipForwardMib) { return ipForwardMib.ipCidrRouteTableMap(); }

  // clang-format off
  static constexpr std::tuple indexes{
      component<IpAddressSyntax<ASN_IPADDRESS>>("ipCidrRouteDest", "dest",
          [](Key const& key) { return key.dest(); }),
      component<IpAddressSyntax<ASN_IPADDRESS>>("ipCidrRouteMask", "mask",
          [](Key const& key) { return key.mask(); }),
      component<IntegerSyntax<>>("ipCidrRouteTos", "tos", [](Key const& key) { return key.tos(); }),
      component<IpAddressSyntax<ASN_IPADDRESS>>("ipCidrRouteNextHop", "nextHop",
          [](Key const& key) { return key.nextHop(); })};

  static constexpr auto readWrite = MaxAccess::readWrite;

  // Constant is what is not kept: the kind of route (other), its age, its AS, further metrics.
  // By RFC 4292 an AS that is not known is 0, and a metric that is not used -1. Every row is
  // active(1).
  static constexpr std::array columns{
      // The columns of the index can be read here, other than in inetCidrRouteTable (RFC 4292).
      column<Conversion::DovelIpAddrToAsnOctetString>(1, "ipCidrRouteDest", "dest",
          [](Row const& row) { return row.key().dest(); }),
      column<Conversion::DovelIpAddrToAsnOctetString>(2, "ipCidrRouteMask", "mask",
          [](Row const& row) { return row.key().mask(); }),
      // Not a constant(): the trace of a column that is an attribute names it.
      column<Conversion::S32ToAsnInteger>(3, "ipCidrRouteTos", "tos",
          [](Row const& /*row*/) { return 0; }),
      column<Conversion::DovelIpAddrToAsnOctetString>(4, "ipCidrRouteNextHop", "nextHop",
          [](Row const& row) { return row.key().nextHop(); }),
      column<Conversion::S32ToAsnInteger>(5, "ipCidrRouteIfIndex", "ifIndex",
          [](Row const& row) { return row->ifIndex(); }, readWrite),
      constant<Conversion::S32ToAsnInteger, 1>(6, "ipCidrRouteType", readWrite),
      column<Conversion::RouteTypeToAsnInteger>(7, "ipCidrRouteProto", "protocol",
          [](Row const& row) { return row->protocol(); }),
      constant<Conversion::S32ToAsnInteger, -1>(8, "ipCidrRouteAge"),
      // zeroDotZero: no further MIB tells of the protocol.
      column<Conversion::StringToAsnOid>(9, "ipCidrRouteInfo", "",
          [](Row const& /*row*/) { return Mav::String8("0.0"); }, readWrite),
      constant<Conversion::S32ToAsnInteger, 0>(10, "ipCidrRouteNextHopAS", readWrite),
      column<Conversion::RouteMetricToAsnInteger>(11, "ipCidrRouteMetric1", "metric",
          [](Row const& row) { return row->metric(); }, readWrite),
      column<Conversion::S32ToAsnInteger>(12, "ipCidrRouteMetric2", "preference",
          [](Row const& row) { return row->preference().value(); }, readWrite),
      constant<Conversion::S32ToAsnInteger, -1>(13, "ipCidrRouteMetric3", readWrite),
      constant<Conversion::S32ToAsnInteger, -1>(14, "ipCidrRouteMetric4", readWrite),
      constant<Conversion::S32ToAsnInteger, -1>(15, "ipCidrRouteMetric5", readWrite),
      constant<Conversion::S32ToAsnInteger, 1>(16, "ipCidrRouteStatus", readWrite)};
  // clang-format on
};

template class TableFunctions<IpCidrRouteTable>;

}  // namespace IpSnmp
