#include "stats/stats_scan.h"

#include <gmock/gmock.h>

#include "tests/stats/stats_texts.h"

namespace Ip {
namespace {

/// Every field at 5, to see which are set.
SwFwdStatsData fives() {
  SwFwdStatsData data;
#define SET_FIVE(r, d, field) data.BOOST_PP_CAT(field, Is)(5);
  BOOST_PP_SEQ_FOR_EACH(SET_FIVE, _, BOOST_PP_VARIADIC_TO_SEQ(IP_SW_FWD_FIELDS))
#undef SET_FIVE
  return data;
}

struct Numbers {
  char const* values;
  std::uint64_t inReceives, inHdrErrors, inAddrErrors;
};

TEST(Scans, takeNumbersAsAStreamDoes) {
  constexpr auto most = 18446744073709551615U;
  Numbers const rows[] = {{"", 0, 0, 0},
                          {"1 x 3", 1, 0, 0},
                          {"1 2x 3", 1, 2, 0},
                          {"18446744073709551615 2 3", most, 2, 3},
                          {"1 18446744073709551616 3", 1, most, 0},
                          {"-1 +2 -0", most, 2, 0}};
  for (auto const& row : rows) {
    SCOPED_TRACE(row.values);
    SwFwdStatsData data = fives();
    scanSnmp(snmpText(row.values), data);
    EXPECT_EQ(data.inReceives(), row.inReceives);
    EXPECT_EQ(data.inHdrErrors(), row.inHdrErrors);
    EXPECT_EQ(data.inAddrErrors(), row.inAddrErrors);
    EXPECT_EQ(data.fragCreates(), 0U);
  }
}

TEST(Scans, leaveWhatHasAnotherLayoutAlone) {
  std::string const oneMore = snmpHeader.substr(0, 223) + " OutTransmits\n";
  SwFwdStatsData data = fives();
  EXPECT_EQ(scanSnmp(snmpText("1 2", oneMore), data), 237U);
  EXPECT_EQ(scanSnmp(std::string(100000, 'x'), data), 1024U);
  EXPECT_EQ(scanSnmp("", data), 0U);
  for (std::string const& text :
       {std::string(), tcpExtLines + ipExtHeader, std::string("XIpExt: A\nXIpExt: 1 2\n"),
        "ipExt: A\n" + ipExtHeader, std::string(100000, '\n')}) {
    scanNetstat(text, data);
  }
  for (std::string const& text :
       {std::string(), std::string(" 1\nIp6InReceives 2\n"), std::string(80, 'n') + " 1\n"}) {
    scanSnmp6(text, data);
  }
  EXPECT_EQ(data, fives());
}

}  // namespace
}  // namespace Ip
