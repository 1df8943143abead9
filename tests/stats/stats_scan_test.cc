#include "stats/stats_scan.h"

#include <gmock/gmock.h>

#include "tests/stats/stats_texts.h"
#include "tests/stats/stream_oracle.h"

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

void expectAgreement(std::string const& text) {
  SwFwdStatsData scanned = fives();
  SwFwdStatsData streamed = fives();
  EXPECT_EQ(scanSnmp(text, scanned), StreamOracle::scanSnmp(text, streamed));
  ASSERT_EQ(scanned, streamed) << "snmp: " << text.substr(0, 1000);
  scanNetstat(text, scanned);
  StreamOracle::scanNetstat(text, streamed);
  ASSERT_EQ(scanned, streamed) << "netstat: " << text.substr(0, 1000);
  scanSnmp6(text, scanned);
  StreamOracle::scanSnmp6(text, streamed);
  ASSERT_EQ(scanned, streamed) << "snmp6: " << text.substr(0, 1000);
}

std::string const snmpSeed = snmpText("1 2 3 4 6 7 8 9 10 11 12 13 14 15 16 17 18 99");
std::string const netstatSeed = netstatText("11 12 13 14 15 16 17 18");
std::string const snmp6Seed = snmp6Text({{"Ip6InReceives", "1"},
                                         {"Ip6InDelivers", "2"},
                                         {"Icmp6InMsgs", "3"},
                                         {"Ip6OutForwDatagrams", "7"},
                                         {"Ip6OutOctets", "18446744073709551615"},
                                         {"Ip6InReceives", "6"}});

TEST(Scans, setTheFieldsOfTheirFilesAlone) {
  SwFwdStatsData data = fives();
  EXPECT_EQ(scanSnmp(snmpSeed, data), snmpHeaderLength);
  EXPECT_EQ(data.inReceives(), 1U);
  EXPECT_EQ(data.fragCreates(), 18U);
  EXPECT_EQ(data.inOctets(), 5U);
  scanNetstat(netstatSeed, data);
  EXPECT_EQ(data.inNoRoutes(), 11U);
  EXPECT_EQ(data.outBcastPkts(), 16U);
  scanSnmp6(snmp6Seed, data);
  EXPECT_EQ(data.inReceives(), 6U);
  EXPECT_EQ(data.forwDatagrams(), 7U);
  EXPECT_EQ(data.outOctets(), 18446744073709551615U);
  for (auto const& seed : {snmpSeed, netstatSeed, snmp6Seed}) expectAgreement(seed);
}

// Around the limits of the scans; what lies between is for tests/fuzz/stats.
TEST(Scans, agreeWithAStreamOnOddNumbersAndLengths) {
  for (std::string const values :
       {"", "- 1", "1 2 3 4 6 7 8 9 10 11 12 13 14 15 16 17", "1 x 3 4", "1 2x 3 4", "0x10 2 3",
        "1 18446744073709551615 3 4", "1 18446744073709551616 3 4", "-1 +2 -0 4 6 7 -2"}) {
    expectAgreement(snmpText(values));
    expectAgreement(netstatText(values));
    expectAgreement("Ip6InReceives " + values + "\nIp6InDelivers 2\n");
  }
  for (std::size_t const length : {99U, 100U, 200U}) {  // of a leading word
    expectAgreement(snmpHeader + std::string(length, 't') + " 1 64 7 8");
  }
  for (std::string const& line :
       {snmpHeader.substr(0, 223) + " OutTransmits\n", snmpHeader.substr(0, 211) + "\n",
        std::string(1023, 'x') + "\n", std::string(1024, 'x') + "\n", std::string(100000, 'x')}) {
    expectAgreement(snmpText("1 2", line));
  }
  for (std::string const& text :
       {snmpHeader, tcpExtLines + ipExtHeader, std::string("IpExt: A\nipExt: 1 2 3 4 6 7\n"),
        std::string("XIpExt: A\nXIpExt: 1 2\n"), std::string(100000, '\n')}) {
    expectAgreement(text);
  }
  for (std::size_t const length : {4089U, 4090U, 4091U, 4095U, 4096U, 4097U, 100000U}) {
    std::string const longLine = "TcpExt: " + std::string(length, 'x') + "\n";
    expectAgreement(longLine + longLine + netstatText("11 12"));
    expectAgreement("TcpExt:" + std::string(length, ' ') + "IpExt: A\nIpExt: 11\n");
  }
  for (std::string const& text :
       {std::string("Ip6InReceives\nIp6InDelivers 2\n"), std::string("Ip6InReceives"),
        std::string("Ip6InReceives 1\nIp6InDeliv"), std::string(" 1\nIp6InDelivers 2\n"),
        std::string(79, 'n') + " 1\nIp6InDelivers 2\n",
        std::string(80, 'n') + " 1\nIp6InDelivers 2\n",
        "Ip6InReceives " + std::string(100000, '0') + "3\nIp6InDelivers 2\n"}) {
    expectAgreement(text);
  }
}

}  // namespace
}  // namespace Ip
