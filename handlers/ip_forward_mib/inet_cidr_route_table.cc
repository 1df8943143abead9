#include "handlers/ip_forward_mib/inet_cidr_route_table.h"

#include "handlers/table/inet_index.h"
#include "handlers/table/table_frame.h"
#include "model/ip_forward_mib.h"

namespace IpSnmp {

struct InetCidrRouteTable {
  using Entity = IpForwardMib;
  using Rows = InetCidrRoutes;
  using Row = InetCidrRoutes::IteratorConst;
  // Not a collection but a view of three: its iterator has key and row as a collection's would.
  using Key = InetCidrRouteTableIndex;

  static constexpr std::string_view name = "inetCidrRouteTable";
  static constexpr std::array<oid, 9> objectId{1, 3, 6, 1, 2, 1, 4, 24, 7};
  // Every SET is refused, but by the handler, and with its trace.
  static constexpr int modes = HANDLER_CAN_RWRITE;
  static Rows const& rows(Entity const& ipForwardMib) { return ipForwardMib.inetCidrRoutes(); }

  // clang-format off
  static constexpr std::tuple indexes{
      component<IntegerSyntax<>>("inetCidrRouteDestType", "destType",
          [](Key const& key) { return key.dest().type(); }),
      component<InetAddressSyntax>("inetCidrRouteDest", "dest",
          [](Key const& key) -> auto const& { return key.dest(); }),
      component<UnsignedSyntax>("inetCidrRoutePfxLen", "pfxLen",
          [](Key const& key) { return key.pfxLen(); }),
      component<ZeroDotZeroSyntax>("inetCidrRoutePolicy", "policy",
          [](Key const& /*key*/) { return ZeroDotZero(); }),
      component<IntegerSyntax<>>("inetCidrRouteNextHopType", "nextHopType",
          [](Key const& key) { return key.nextHop().type(); }),
      component<InetAddressSyntax>("inetCidrRouteNextHop", "nextHop",
          [](Key const& key) -> auto const& { return key.nextHop(); })};

  static constexpr auto readWrite = MaxAccess::readWrite;

  // Constant is what the kernel does not know: an AS, further metrics.
  // By RFC 4292 an AS that is not known is 0, and a metric that is not used -1. Every row is
  // active(1).
  static constexpr std::array columns{
      column<Conversion::S32ToAsnInteger>(7, "inetCidrRouteIfIndex", "ifIndex",
          [](Row const& row) { return row->ifIndex; }, readWrite),
      column<Conversion::S32ToAsnInteger>(8, "inetCidrRouteType", "type",
          [](Row const& row) { return row->type; }, readWrite),
      column<Conversion::RouteTypeToInetProtocol>(9, "inetCidrRouteProto", "protocol",
          [](Row const& row) { return row->protocol; }),
      // Of the iterator, not of the row: a look into the shared tables, for who reads this column.
      column<Conversion::U32ToAsnUnsigned>(10, "inetCidrRouteAge", "age",
          [](Row const& row) { return row.age(); }),
      constant<Conversion::U32ToAsnUnsigned, 0>(11, "inetCidrRouteNextHopAS", readWrite),
      column<Conversion::RouteMetricToAsnInteger>(12, "inetCidrRouteMetric1", "metric",
          [](Row const& row) { return row->metric; }, readWrite),
      constant<Conversion::S32ToAsnInteger, -1>(13, "inetCidrRouteMetric2", readWrite),
      constant<Conversion::S32ToAsnInteger, -1>(14, "inetCidrRouteMetric3", readWrite),
      constant<Conversion::S32ToAsnInteger, -1>(15, "inetCidrRouteMetric4", readWrite),
      constant<Conversion::S32ToAsnInteger, -1>(16, "inetCidrRouteMetric5", readWrite),
      constant<Conversion::S32ToAsnInteger, 1>(17, "inetCidrRouteStatus", readWrite)};
  // clang-format on
};

template class TableFunctions<InetCidrRouteTable>;

}  // namespace IpSnmp
