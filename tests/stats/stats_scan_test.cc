#include "stats/stats_scan.h"

#include <cctype>
#include <fstream>
#include <set>
#include <string>

#include <gmock/gmock.h>

#include "stats/counter.h"
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

/// Whoever looks for a counter that stands still sees how far the file was read: to its end, or
/// not.
TEST(Scans, tellEachRoundOfANameAndAValue) {
  std::string told;
  Mav::traceSinkIs(
      [&](Mav::Severity, auto line) { told.append(line.substr(line.find("stat is"))) += ';'; });
  statsTrace().enabledIs(1, true);
  SwFwdStatsData data;
  scanSnmp6("Ip6InReceives 7\n", data);
  scanSnmp6("Ip6InReceives x\nIp6InDelivers 2\n", data);
  statsTrace().enabledIs(1, false);
  Mav::traceSinkIs({});
  EXPECT_EQ(told,
            "stat is Ip6InReceives, value is 7;stat is , value is 0;"
            "stat is Ip6InReceives, value is 0;");
}

Counter const* counterOf(std::string const& name) { return counter(name.data(), name.size()); }

TEST(Counter, isFoundByTheExactNameOnly) {
  for (std::string const name :
       {"", "Ip6InReceive", "Ip6InReceivesX", "ip6InReceives", "InReceives", "Ip6ForwDatagrams",
        "Ip6InTooBigErrors", "Ip6InBcastPkts", "Udp6InDatagrams"}) {
    EXPECT_EQ(counterOf(name), nullptr) << name;
  }
  EXPECT_EQ(counterOf(std::string("Ip6InReceives\0", 14)), nullptr);
  EXPECT_EQ(counter("Ip6InReceives   0", 13), &inReceivesCounter);
}

TEST(Counter, namesAreThoseOfTheRunningKernel) {
  std::ifstream snmp6("/proc/net/snmp6");
  if (!snmp6) GTEST_SKIP() << "this kernel has no /proc/net/snmp6";
  std::set<Counter const*> found;
  std::string name;
  std::uint64_t value = 0;
  while (snmp6 >> name >> value) {
    auto const* const known = counterOf(name);
    if (!known) continue;
    found.insert(known);
    std::string field = name == "Ip6OutForwDatagrams" ? "ForwDatagrams" : name.substr(3);
    field[0] = static_cast<char>(std::tolower(field[0]));
    EXPECT_EQ(known->name(), field);
  }
  EXPECT_EQ(found.size(), 25U);
}

}  // namespace
}  // namespace Ip
