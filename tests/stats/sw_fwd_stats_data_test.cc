#include "stats/sw_fwd_stats_data.h"

#include <gmock/gmock.h>

namespace Ip {
namespace {

TEST(SwFwdStatsData, printsItsFieldsInOrderAndParsesThem) {
  SwFwdStatsData data;
  data.inReceivesIs(1);
  data.inNoRoutesIs(18446744073709551615U);
  data.outBcastPktsIs(27);
  EXPECT_EQ(
      valueToStrep(data),
      "Value('Ip::SwFwdStatsData', ** {'inReceives': 1, 'inOctets': 0, 'inHdrErrors': 0, "
      "'inAddrErrors': 0, 'forwDatagrams': 0, 'inUnknownProtos': 0, 'inDiscards': 0, "
      "'inDelivers': 0, 'outRequests': 0, 'outDiscards': 0, 'outNoRoutes': 0, 'outOctets': 0, "
      "'reasmTimeout': 0, 'reasmReqds': 0, 'reasmOKs': 0, 'reasmFails': 0, 'fragOKs': 0, "
      "'fragFails': 0, 'fragCreates': 0, 'inNoRoutes': 18446744073709551615, "
      "'inTruncatedPkts': 0, 'inMcastPkts': 0, 'inMcastOctets': 0, 'outMcastPkts': 0, "
      "'outMcastOctets': 0, 'inBcastPkts': 0, 'outBcastPkts': 27})");
  EXPECT_EQ(Mav::strepToValue<SwFwdStatsData>(valueToStrep(data)), data);
}

}  // namespace
}  // namespace Ip
