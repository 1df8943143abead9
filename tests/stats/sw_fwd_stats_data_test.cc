#include "stats/sw_fwd_stats_data.h"

#include <random>

#include <gmock/gmock.h>

namespace Ip {
namespace {

TEST(SwFwdStatsData, printsItsFieldsInOrder) {
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
}

TEST(SwFwdStatsData, parsesWhatItPrints) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 100; ++i) {
    SwFwdStatsData data;
#define SET_FIELD(r, d, field) data.BOOST_PP_CAT(field, Is)(random() >> (random() % 64));
    BOOST_PP_SEQ_FOR_EACH(SET_FIELD, _, BOOST_PP_VARIADIC_TO_SEQ(IP_SW_FWD_FIELDS))
#undef SET_FIELD
    EXPECT_EQ(Mav::strepToValue<SwFwdStatsData>(valueToStrep(data)), data);
    EXPECT_FALSE(!data);
  }
  EXPECT_TRUE(!Mav::strepToValue<SwFwdStatsData>("Value('Ip::SwFwdStatsData', ** {})"));
}

TEST(SwFwdStatsData, refusesWhatIsNotItsForm) {
  struct {
    char const* text;
    char const* error;
  } const rows[] = {
      {"Value('Ip::SwFwdStatsData', ** {", "premature end of value type SwFwdStatsData"},
      {"Value('Ip::SwFwdStatsData', ** {'inReceives': 1",
       "premature end of value type SwFwdStatsData"},
      {"Value('Ip::SwFwdStatsData', ** {'inPackets': 1})",
       "SwFwdStatsData has no such attribute: inPackets"},
      {"Value('Ip::SwFwdStatsData', ** {}) x",
       "junk at column 35 deserializing Ip::SwFwdStatsData"},
  };
  for (auto const& row : rows) {
    EXPECT_THAT([&] { Mav::strepToValue<SwFwdStatsData>(row.text); },
                testing::ThrowsMessage<Mav::RangeException>(row.error))
        << row.text;
  }
}

}  // namespace
}  // namespace Ip
