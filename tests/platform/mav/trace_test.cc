#include <cstdlib>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/mav/exception.h"
#include "platform/mav/trace_config.h"
#include "platform/mav/trace_handle.h"

namespace {

using Mav::Severity;
using Mav::TraceConfig;
using Mav::TraceHandle;
using testing::ElementsAre;
using testing::MatchesRegex;

TEST(TraceConfig, levelsByName) {
  struct {
    char const* text;
    char const* name;
    std::uint32_t levels;
  } const rows[] = {
      {"", "Snmp", 0b1},
      {"Snmp", "Snmp", 0b11'1111'1111},
      {"Snmp", "SnmpX", 0b1},
      {"Snmp/0-2,IpSnmpAgent/8", "Snmp", 0b111},
      {"Snmp/0-2,IpSnmpAgent/8", "IpSnmpAgent", 0b1'0000'0001},
      {" Snmp/2 ,\tSnmp/4-5,,", "Snmp", 0b11'0101},
      {"*/9", "Any", 0b10'0000'0001},
      {"*", "Any", 0b11'1111'1111},
      {"Snmp/3-3", "Snmp", 0b1001},
  };
  for (auto const& row : rows) {
    TraceConfig const config(row.text);
    EXPECT_EQ(config.levels(row.name), row.levels) << row.text;
    EXPECT_TRUE(config.badItems().empty()) << row.text;
  }
}

TEST(TraceConfig, badItemsAreKeptAndTheRestCounts) {
  TraceConfig const config("A/10,/2,B/,C/3-1,D/x,E/1-,F/-1,G/1-2-3,H/2,I/4294967296, J/ 1");
  EXPECT_THAT(config.badItems(), ElementsAre("A/10", "/2", "B/", "C/3-1", "D/x", "E/1-", "F/-1",
                                             "G/1-2-3", "I/4294967296", "J/ 1"));
  EXPECT_EQ(config.levels("H"), 0b101U);
  EXPECT_EQ(config.levels("A"), 0b1U);
}

class TraceTest : public testing::Test {
 protected:
  TraceTest() {
    Mav::traceSinkIs([this](Severity severity, std::string_view line) {
      severities.push_back(severity);
      lines.emplace_back(line);
    });
  }
  ~TraceTest() override { Mav::traceSinkIs({}); }

  std::vector<Severity> severities;
  std::vector<std::string> lines;
};

TEST_F(TraceTest, aLineSaysWhoWhereAndWhat) {
  TraceHandle const handle("Snmp");
  MAV_TRACE(handle, 0, "hint of " << 5 << " parts");
  MAV_TRACE_AS(handle, 0, "ipAddrTable_handler", "x");
  handle.line(2, "handlers/ip_mib/ip_base.cc", 123, "handle_ipForwarding", "text");
  EXPECT_THAT(lines, ElementsAre(MatchesRegex("Snmp/0 trace_test.cc:[0-9]+ TestBody: hint of 5 "
                                              "parts"),
                                 MatchesRegex("Snmp/0 trace_test.cc:[0-9]+ ipAddrTable_handler: x"),
                                 "Snmp/2 ip_base.cc:123 handle_ipForwarding: text"));
  EXPECT_THAT(severities, ElementsAre(Severity::warning, Severity::warning, Severity::debug));
}

TEST_F(TraceTest, nothingIsFormattedWhileALevelIsOff) {
  TraceHandle handle("OvoTraceTest");
  int formatted = 0;
  auto const count = [&] { return ++formatted; };
  handle.enabledIs(4, true);
  MAV_TRACE(handle, 3, count());
  MAV_TRACE(handle, 4, count());
  handle.enabledIs(4, false);
  MAV_TRACE(handle, 4, count());
  EXPECT_EQ(formatted, 1);
  EXPECT_EQ(lines.size(), 1U);
  EXPECT_THROW(handle.enabledIs(10, true), Mav::RangeException);
  EXPECT_TRUE(TraceHandle("All", true).enabled(9));
}

TEST_F(TraceTest, textsFromOutsideCannotForgeLines) {
  Mav::log(Severity::error, "interface 'eth0\nSnmp/0 forged\x1b[2J' caf\xc3\xa9");
  EXPECT_THAT(lines, ElementsAre("interface 'eth0\\x0aSnmp/0 forged\\x1b[2J' caf\xc3\xa9"));
}

TEST(TraceDeathTest, environmentSwitchesLevelsOnAndBadItemsAreToldOnce) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";  // a fresh process: it is read once
  auto const child = [] {
    setenv("MAV_TRACE", "OvoChild/3,Ovo/x", 1);
    TraceHandle const handle("OvoChild");
    TraceHandle const other("OvoOther");
    MAV_TRACE(handle, 3, "on");
    MAV_TRACE(handle, 2, "off");
    Mav::log(Severity::error, "plain");
    std::exit(0);
  };
  EXPECT_EXIT(child(), testing::ExitedWithCode(0),
              "^MAV_TRACE/0 item 'Ovo/x' ignored: expected [^\n]*\n"
              "OvoChild/3 trace_test.cc:[0-9]+ operator\\(\\): on\n"
              "error: plain\n$");
}

}  // namespace
