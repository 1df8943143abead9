#include "stats/stats_scan.h"

#include <functional>
#include <random>

#include <gmock/gmock.h>

#include "tests/stats/stats_texts.h"
#include "tests/stats/stream_oracle.h"

namespace Ip {
namespace {

std::uint64_t constexpr huge = 18446744073709551615U;

/// Every field at 5, to see which are set.
SwFwdStatsData fives() {
  SwFwdStatsData data;
#define SET_FIVE(r, d, field) data.BOOST_PP_CAT(field, Is)(5);
  BOOST_PP_SEQ_FOR_EACH(SET_FIVE, _, BOOST_PP_VARIADIC_TO_SEQ(IP_SW_FWD_FIELDS))
#undef SET_FIVE
  return data;
}

SwFwdStatsData snmp(std::string const& text) {
  SwFwdStatsData data = fives();
  EXPECT_EQ(scanSnmp(text, data), snmpHeaderLength);
  return data;
}

SwFwdStatsData netstat(std::string const& text) {
  SwFwdStatsData data = fives();
  scanNetstat(text, data);
  return data;
}

SwFwdStatsData snmp6(std::string const& text) {
  SwFwdStatsData data = fives();
  scanSnmp6(text, data);
  return data;
}

TEST(ScanSnmp, putsEachColumnIntoItsField) {
  SwFwdStatsData const data = snmp(snmpText("1 2 3 4 6 7 8 9 10 11 12 13 14 15 16 17 18 99"));
  SwFwdStatsData expected = fives();
  StreamOracle::scanSnmp(snmpText("1 2 3 4 6 7 8 9 10 11 12 13 14 15 16 17 18 99"), expected);
  EXPECT_EQ(data, expected);
  EXPECT_EQ(data.inReceives(), 1U);
  EXPECT_EQ(data.forwDatagrams(), 4U);
  EXPECT_EQ(data.fragCreates(), 18U);
  EXPECT_EQ(data.inOctets(), 5U);  // not in this file
}

TEST(ScanSnmp, refusesAHeaderOfAnotherLength) {
  struct {
    std::string text;
    std::size_t length;
  } const rows[] = {
      {"", 0},
      {"\n", 1},
      {snmpText("1 2", snmpHeader.substr(0, 223) + " OutTransmits\n"), 237},
      {snmpText("1 2", snmpHeader.substr(0, 211) + "\n"), 212},
      {std::string(1023, 'x') + "\nIp: 1 64 1 2", 1024},
      {std::string(1024, 'x') + "\nIp: 1 64 1 2", 1024},
      {std::string(100000, 'x'), 1024},
  };
  for (auto const& row : rows) {
    SwFwdStatsData data = fives();
    EXPECT_EQ(scanSnmp(row.text, data), row.length);
    EXPECT_EQ(data, fives());
  }
}

TEST(ScanSnmp, takesWhatIsMissingOrMalformedAsZeroToTheEndOfTheLine) {
  struct {
    std::string values;
    std::uint64_t inReceives, inHdrErrors, inAddrErrors, fragCreates;
  } const rows[] = {
      {"1 2 3 4 6 7 8 9 10 11 12 13 14 15 16 17", 1, 2, 3, 0},  // one column less
      {"1 x 3 4 6 7 8 9 10 11 12 13 14 15 16 17 18", 1, 0, 0, 0},
      {"1 2x 3 4", 1, 2, 0, 0},
      {"0x10 2 3", 0, 0, 0, 0},
      {"1 18446744073709551615 3 4 6 7 8 9 10 11 12 13 14 15 16 17 18", 1, huge, 3, 18},
      {"1 18446744073709551616 3 4 6 7 8 9 10 11 12 13 14 15 16 17 18", 1, huge, 0, 0},
      {"-1 +2 -0 4 6 7 8 9 10 11 12 13 14 15 16 17 -2", huge, 2, 0, huge - 1},
      {"- 1", 0, 0, 0, 0},
      {"", 0, 0, 0, 0},
  };
  for (auto const& row : rows) {
    SwFwdStatsData const data = snmp(snmpText(row.values));
    EXPECT_EQ(data.inReceives(), row.inReceives) << row.values;
    EXPECT_EQ(data.inHdrErrors(), row.inHdrErrors) << row.values;
    EXPECT_EQ(data.inAddrErrors(), row.inAddrErrors) << row.values;
    EXPECT_EQ(data.fragCreates(), row.fragCreates) << row.values;
  }
  EXPECT_EQ(snmp(snmpHeader).inReceives(), 0U);                   // no value line
  EXPECT_EQ(snmp(snmpHeader + "Ip: 1 64 12").inReceives(), 12U);  // cut
}

TEST(ScanSnmp, skipsLeadingWordsOfAtMost100Characters) {
  auto const firstNumber = [](std::size_t tagLength) {
    return snmp(snmpHeader + std::string(tagLength, 't') + " 1 64 7 8").inReceives();
  };
  EXPECT_EQ(firstNumber(99), 7U);
  EXPECT_EQ(firstNumber(100), 64U);  // the space behind the tag counts as the next word
  EXPECT_EQ(firstNumber(200), 1U);
}

TEST(ScanNetstat, readsSixCountersOfTheSecondIpExtLine) {
  SwFwdStatsData const data = netstat(netstatText("11 12 13 14 15 16 17 18"));
  SwFwdStatsData expected = fives();
  expected.inNoRoutesIs(11);
  expected.inTruncatedPktsIs(12);
  expected.inMcastPktsIs(13);
  expected.outMcastPktsIs(14);
  expected.inBcastPktsIs(15);
  expected.outBcastPktsIs(16);
  EXPECT_EQ(data, expected);
}

TEST(ScanNetstat, changesNothingWithoutTheSection) {
  for (std::string const& text :
       {std::string(), std::string("\n"), tcpExtLines, tcpExtLines + ipExtHeader,
        std::string("IpExt: A\nipExt: 1 2 3 4 6 7\n"), std::string("IpExt A\nIpExt 1 2\n"),
        std::string("XIpExt: A\nXIpExt: 1 2\n"), std::string(100000, 'x'),
        std::string(100000, '\n'), std::string(100000, ' ')}) {
    EXPECT_EQ(netstat(text), fives()) << text.substr(0, 40);
  }
}

TEST(ScanNetstat, passesLinesOfAnyLengthOver) {
  for (std::size_t const length : {4000U, 4089U, 4090U, 4091U, 4096U, 8192U, 100000U}) {
    std::string const longLine = "TcpExt: " + std::string(length, 'x') + "\n";
    SwFwdStatsData const data = netstat(longLine + longLine + netstatText("11 12"));
    EXPECT_EQ(data.inNoRoutes(), 11U) << length;
    EXPECT_EQ(data.inTruncatedPkts(), 12U) << length;
    EXPECT_EQ(data.inMcastPkts(), 0U) << length;  // the next line begins with a word
  }
}

TEST(ScanNetstat, skipsAtMost4096CharactersBehindTheFirstWord) {
  auto const inNoRoutes = [](std::size_t length) {
    return netstat("TcpExt:" + std::string(length, ' ') + "IpExt: A\nIpExt: 11\n").inNoRoutes();
  };
  EXPECT_EQ(inNoRoutes(4095), 5U);
  EXPECT_EQ(inNoRoutes(4096), 11U);  // what follows is taken for another line
  EXPECT_EQ(inNoRoutes(4097), 5U);
}

TEST(ScanSnmp6, setsTheCountersThatItKnows) {
  SwFwdStatsData const data = snmp6(snmp6Text({{"Ip6InReceives", "1"},
                                               {"Ip6InTooBigErrors", "2"},
                                               {"Ip6OutForwDatagrams", "7"},
                                               {"Ip6OutMcastOctets", "18446744073709551615"},
                                               {"Icmp6InMsgs", "3"},
                                               {"Udp6InDatagrams", "4"},
                                               {"Ip6InReceives", "6"}}));
  SwFwdStatsData expected = fives();
  expected.inReceivesIs(6);
  expected.forwDatagramsIs(7);
  expected.outMcastOctetsIs(huge);
  EXPECT_EQ(data, expected);
}

TEST(ScanSnmp6, endsAtAMalformedNumber) {
  struct {
    std::string text;
    std::uint64_t inReceives, inDelivers;
  } const rows[] = {
      {"", 5, 5},
      {"Ip6InReceives 1\nIp6InDelivers 2", 1, 2},
      {"Ip6InReceives x\nIp6InDelivers 2\n", 0, 5},
      {"Ip6InReceives\nIp6InDelivers 2\n", 5, 5},  // a name has a space behind it
      {"Ip6InReceives", 0, 5},
      {"Ip6InReceives ", 0, 5},
      {"Ip6InReceives 1\nIp6InDeliv", 1, 5},
      {"Icmp6InMsgs x\nIp6InDelivers 2\n", 5, 5},
      {"Ip6InReceives 18446744073709551616\nIp6InDelivers 2\n", huge, 5},
      {"Ip6InReceives -1\nIp6InDelivers 2\n", huge, 2},
      {"Ip6InReceives 1x\nIp6InDelivers 2\n", 1, 5},  // the name is "\nIp6InDelivers" now
      {" 1\nIp6InDelivers 2\n", 5, 2},
      {std::string(79, 'n') + " 1\nIp6InDelivers 2\n", 5, 2},
      {std::string(80, 'n') + " 1\nIp6InDelivers 2\n", 5, 5},
      {std::string(100000, 'n'), 5, 5},
      {"Ip6InReceives " + std::string(100000, '9'), huge, 5},
      {"Ip6InReceives " + std::string(100000, '0') + "3\nIp6InDelivers 2\n", 3, 2},
  };
  for (auto const& row : rows) {
    SwFwdStatsData const data = snmp6(row.text);
    EXPECT_EQ(data.inReceives(), row.inReceives) << row.text.substr(0, 60);
    EXPECT_EQ(data.inDelivers(), row.inDelivers) << row.text.substr(0, 60);
  }
}

/// One random edit, of the kinds that upset a scanner: cuts, copies, odd characters, long runs.
std::string mutated(std::string text, std::mt19937_64& random) {
  auto const place = [&] { return random() % (text.size() + 1); };
  static std::string const odd = " \n\t\r-+0123456789xI:\v\f";
  switch (random() % 5) {
    case 0:
      text.resize(place());
      break;
    case 1:
      text.erase(place(), random() % 40);
      break;
    case 2:
      text.insert(place(), 1, odd[random() % odd.size()]);
      break;
    case 3:
      text.insert(place(), text.substr(place(), random() % 400));
      break;
    default:
      text.insert(place(), 1 + random() % (random() % 8 == 0 ? 5000 : 100),
                  odd[random() % odd.size()]);
  }
  return text;
}

TEST(Scans, agreeWithAStreamOnMutatedFiles) {
  std::mt19937_64 random(20);
  std::string const seeds[] = {snmpText("1 2 3 4 6 7 8 9 10 11 12 13 14 15 16 17 18"),
                               netstatText("11 12 13 14 15 16 17"),
                               snmp6Text({{"Ip6InReceives", "1"},
                                          {"Ip6InDelivers", "2"},
                                          {"Icmp6InMsgs", "3"},
                                          {"Ip6OutOctets", "18446744073709551615"}})};
  for (int i = 0; i < 6000; ++i) {
    std::string text = seeds[i % 3];
    // The header of snmp stays: most edits of it would end the scan there.
    std::string const kept = i % 3 == 0 && i % 2 == 0 ? text.substr(0, snmpHeaderLength) : "";
    text.erase(0, kept.size());
    for (auto edits = 1 + random() % 4; edits > 0; --edits) text = mutated(text, random);
    text.insert(0, kept);

    SwFwdStatsData scanned = fives();
    SwFwdStatsData streamed = fives();
    EXPECT_EQ(scanSnmp(text, scanned), StreamOracle::scanSnmp(text, streamed));
    ASSERT_EQ(scanned, streamed) << "snmp: " << text;
    scanNetstat(text, scanned);
    StreamOracle::scanNetstat(text, streamed);
    ASSERT_EQ(scanned, streamed) << "netstat: " << text;
    scanSnmp6(text, scanned);
    StreamOracle::scanSnmp6(text, streamed);
    ASSERT_EQ(scanned, streamed) << "snmp6: " << text;
  }
}

}  // namespace
}  // namespace Ip
