#include "handlers/brivet/brivet_sw_fwd_ip_stats_table.h"

#include "handlers/table/table_frame.h"
#include "model/ip_mib.h"

namespace IpSnmp {

namespace {

using Ip::SwFwdStats;
using StatsRow = IpMib::IpSwFwdStatsIteratorConst;

using Reader = std::uint64_t (SwFwdStats::*)() const;

/// A count modulo 2^32, as `reader` has it of the row's statistics.
template <Reader reader>
constexpr TableColumn counter32(unsigned number, char const* name, char const* attribute) {
  return column<Conversion::U64ToCounter32>(
      number, name, attribute, [](StatsRow const& row) { return ((*row.value()).*reader)(); });
}

/// The whole of a count.
template <Reader reader>
constexpr TableColumn counter64(unsigned number, char const* name, char const* attribute) {
  return column<Conversion::U64ToCounter64>(
      number, name, attribute, [](StatsRow const& row) { return ((*row.value()).*reader)(); });
}

// Told to a manager: reading more often brings the same numbers again.
constexpr int refreshMilliseconds = static_cast<int>(SwFwdStats::freshness * 1000);

}  // namespace

struct BrivetSwFwdIpStatsTable {
  using Entity = IpMib;
  using Rows = Entity::IpSwFwdStatsMap;
  using Row = StatsRow;
  using Key = Ip::IpVersion;

  static constexpr std::string_view name = "brivetSwFwdIpStatsTable";
  static constexpr std::array<oid, 11> objectId{1, 3, 6, 1, 4, 1, 99999, 3, 1, 1, 1};
  static constexpr int modes = HANDLER_CAN_RONLY;
  // The two rows as they stand: a walk along them reads no file. A counter does, when it is asked
  // for.
  static Rows const& rows(Entity const& ipMib) { return ipMib.ipSwFwdStatsMap(); }

  static constexpr std::tuple indexes{component<IntegerSyntax<Ip::IpVersion>>(
      "brivetSwFwdIpStatsIPVersion", "ipVersion", [](Key const& key) { return key; })};

  // clang-format off
  static constexpr std::array columns{
      counter32<&SwFwdStats::inReceives>(3, "brivetSwFwdIpStatsInReceives", "inReceives"),
      counter64<&SwFwdStats::inReceives>(4, "brivetSwFwdIpStatsHCInReceives", "inReceives"),
      counter32<&SwFwdStats::inOctets>(5, "brivetSwFwdIpStatsInOctets", "inOctets"),
      counter64<&SwFwdStats::inOctets>(6, "brivetSwFwdIpStatsHCInOctets", "inOctets"),
      counter32<&SwFwdStats::inHdrErrors>(7, "brivetSwFwdIpStatsInHdrErrors", "inHdrErrors"),
      counter32<&SwFwdStats::inNoRoutes>(8, "brivetSwFwdIpStatsInNoRoutes", "inNoRoutes"),
      counter32<&SwFwdStats::inAddrErrors>(9, "brivetSwFwdIpStatsInAddrErrors", "inAddrErrors"),
      counter32<&SwFwdStats::inUnknownProtos>(10, "brivetSwFwdIpStatsInUnknownProtos", "inUnknownProtos"),
      counter32<&SwFwdStats::inTruncatedPkts>(11, "brivetSwFwdIpStatsInTruncatedPkts", "inTruncatedPkts"),
      counter32<&SwFwdStats::inForwDatagrams>(12, "brivetSwFwdIpStatsInForwDatagrams", "inForwDatagrams"),
      counter64<&SwFwdStats::inForwDatagrams>(13, "brivetSwFwdIpStatsHCInForwDatagrams", "inForwDatagrams"),
      counter32<&SwFwdStats::reasmReqds>(14, "brivetSwFwdIpStatsReasmReqds", "reasmReqds"),
      counter32<&SwFwdStats::reasmOKs>(15, "brivetSwFwdIpStatsReasmOKs", "reasmOKs"),
      counter32<&SwFwdStats::reasmFails>(16, "brivetSwFwdIpStatsReasmFails", "reasmFails"),
      counter32<&SwFwdStats::inDiscards>(17, "brivetSwFwdIpStatsInDiscards", "inDiscards"),
      counter32<&SwFwdStats::inDelivers>(18, "brivetSwFwdIpStatsInDelivers", "inDelivers"),
      counter64<&SwFwdStats::inDelivers>(19, "brivetSwFwdIpStatsHCInDelivers", "inDelivers"),
      counter32<&SwFwdStats::outRequests>(20, "brivetSwFwdIpStatsOutRequests", "outRequests"),
      counter64<&SwFwdStats::outRequests>(21, "brivetSwFwdIpStatsHCOutRequests", "outRequests"),
      counter32<&SwFwdStats::outNoRoutes>(22, "brivetSwFwdIpStatsOutNoRoutes", "outNoRoutes"),
      counter32<&SwFwdStats::forwDatagrams>(23, "brivetSwFwdIpStatsOutForwDatagrams", "forwDatagrams"),
      counter64<&SwFwdStats::forwDatagrams>(24, "brivetSwFwdIpStatsHCOutForwDatagrams", "forwDatagrams"),
      counter32<&SwFwdStats::outDiscards>(25, "brivetSwFwdIpStatsOutDiscards", "outDiscards"),
      counter32<&SwFwdStats::fragReqds>(26, "brivetSwFwdIpStatsOutFragReqds", "fragReqds"),
      counter32<&SwFwdStats::fragOKs>(27, "brivetSwFwdIpStatsOutFragOKs", "fragOKs"),
      counter32<&SwFwdStats::fragFails>(28, "brivetSwFwdIpStatsOutFragFails", "fragFails"),
      counter32<&SwFwdStats::fragCreates>(29, "brivetSwFwdIpStatsOutFragCreates", "fragCreates"),
      counter32<&SwFwdStats::outTransmits>(30, "brivetSwFwdIpStatsOutTransmits", "outTransmits"),
      counter64<&SwFwdStats::outTransmits>(31, "brivetSwFwdIpStatsHCOutTransmits", "outTransmits"),
      counter32<&SwFwdStats::outOctets>(32, "brivetSwFwdIpStatsOutOctets", "outOctets"),
      counter64<&SwFwdStats::outOctets>(33, "brivetSwFwdIpStatsHCOutOctets", "outOctets"),
      counter32<&SwFwdStats::inMcastPkts>(34, "brivetSwFwdIpStatsInMcastPkts", "inMcastPkts"),
      counter64<&SwFwdStats::inMcastPkts>(35, "brivetSwFwdIpStatsHCInMcastPkts", "inMcastPkts"),
      counter32<&SwFwdStats::inMcastOctets>(36, "brivetSwFwdIpStatsInMcastOctets", "inMcastOctets"),
      counter64<&SwFwdStats::inMcastOctets>(37, "brivetSwFwdIpStatsHCInMcastOctets", "inMcastOctets"),
      counter32<&SwFwdStats::outMcastPkts>(38, "brivetSwFwdIpStatsOutMcastPkts", "outMcastPkts"),
      counter64<&SwFwdStats::outMcastPkts>(39, "brivetSwFwdIpStatsHCOutMcastPkts", "outMcastPkts"),
      counter32<&SwFwdStats::outMcastOctets>(40, "brivetSwFwdIpStatsOutMcastOctets", "outMcastOctets"),
      counter64<&SwFwdStats::outMcastOctets>(41, "brivetSwFwdIpStatsHCOutMcastOctets", "outMcastOctets"),
      counter32<&SwFwdStats::inBcastPkts>(42, "brivetSwFwdIpStatsInBcastPkts", "inBcastPkts"),
      counter64<&SwFwdStats::inBcastPkts>(43, "brivetSwFwdIpStatsHCInBcastPkts", "inBcastPkts"),
      counter32<&SwFwdStats::outBcastPkts>(44, "brivetSwFwdIpStatsOutBcastPkts", "outBcastPkts"),
      counter64<&SwFwdStats::outBcastPkts>(45, "brivetSwFwdIpStatsHCOutBcastPkts", "outBcastPkts"),
      // 0 says that there was no discontinuity since the agent's start; the kernel tells of none.
      constant<Conversion::SecondsToTimeTicks, 0>(46, "brivetSwFwdIpStatsDiscontinuityTime"),
      constant<Conversion::U32ToAsnUnsigned, refreshMilliseconds>(47, "brivetSwFwdIpStatsRefreshRate")};
  // clang-format on
};

template class TableFunctions<BrivetSwFwdIpStatsTable>;

}  // namespace IpSnmp
