#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/mav/directory.h"
#include "platform/snmp/callback.h"
#include "platform/snmp/framework.h"
#include "platform/snmp/handler_registration.h"
#include "platform/snmp/snmp_log_sink.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class LogLines {
 public:
  LogLines() {
    Mav::traceSinkIs([this](Mav::Severity, std::string_view line) { lines.emplace_back(line); });
  }
  ~LogLines() { Mav::traceSinkIs({}); }
  std::vector<std::string> lines;
};

class Unit : public Snmp::HandlerRegistration {
 public:
  Unit(std::string name, std::vector<std::string>& story) : name_(std::move(name)), story_(story) {}
  void registerHandlers() override {
    story_.push_back(name_);
    if (name_ == "faulty") throw std::runtime_error("no such luck");
  }

 private:
  std::string const name_;
  std::vector<std::string>& story_;
};

TEST(Framework, RegistersEveryUnitOnceInOrderUntilUndoneAndLogsAFaultyOne) {
  std::vector<std::string> story;
  Unit faulty("faulty", story), second("second", story), gone("gone", story);
  Snmp::AutoRegistree const a(&faulty), b(&second);
  { Snmp::AutoRegistree const unloaded(&gone); }
  LogLines const log;
  Snmp::Framework framework;
  framework.registerAll();
  framework.registerAll();
  EXPECT_THAT(story, ElementsAre("faulty", "second"));
  EXPECT_THAT(log.lines, ElementsAre(HasSubstr("no such luck")));
  framework.unregisterAll();
  EXPECT_FALSE(framework.registered());
  framework.registerAll();
  EXPECT_THAT(story, ElementsAre("faulty", "second", "faulty", "second"));
}

TEST(Callback, AnExceptionBecomesGenErrAndOneLogLine) {
  LogLines const log;
  netsnmp_agent_request_info info{};
  netsnmp_variable_list variable{};
  netsnmp_request_info request{};
  info.mode = MODE_GET;
  request.agent_req_info = &info;
  request.requestvb = &variable;
  EXPECT_EQ(Snmp::guarded("handle_it", &request,
                          []() -> int { throw std::runtime_error("broken invariant"); }),
            SNMP_ERR_GENERR);
  EXPECT_EQ(request.status, SNMP_ERR_GENERR);
  Snmp::guarded("alarm", [] { throw 7; });
  EXPECT_THAT(log.lines, ElementsAre(HasSubstr("handle_it: broken invariant"),
                                     HasSubstr("alarm: an exception of unknown type")));
}

/// What net-snmp's log would show.
std::vector<std::string>& netSnmpLog() {
  static std::vector<std::string> lines;
  return lines;
}

int keepLine(int, int, void* message, void*) {
  auto const* const line = static_cast<snmp_log_message*>(message);
  netSnmpLog().push_back(std::to_string(line->priority) + ' ' + line->msg);
  return 0;
}

class NetSnmpLogTest : public testing::Test {
 protected:
  NetSnmpLogTest() {
    netSnmpLog().clear();
    netsnmp_register_loghandler(NETSNMP_LOGHANDLER_CALLBACK, LOG_DEBUG);
    snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, keepLine, nullptr);
  }
  ~NetSnmpLogTest() override {
    snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, keepLine, nullptr, 0);
    snmp_disable_log();
  }
};

TEST_F(NetSnmpLogTest, LinesCarryTheirSeverityAndNoFormat) {
  Snmp::snmpLogSink(Mav::Severity::error, "no run directory (100%s)");
  Snmp::snmpLogSink(Mav::Severity::notice, "in sync");
  Snmp::snmpLogSink(Mav::Severity::debug, "a trace that was switched on");
  EXPECT_THAT(
      netSnmpLog(),
      ElementsAre(std::to_string(LOG_ERR) + " OvoSnmp: no run directory (100%s)\n",
                  std::to_string(LOG_NOTICE) + " OvoSnmp: in sync\n",
                  std::to_string(LOG_WARNING) + " OvoSnmp: a trace that was switched on\n"));
}

TEST_F(NetSnmpLogTest, InitializingIsToldOnlyWhileDebugging) {
  Snmp::debugInitializing("IpBase", "init_IpBase", 12);
  EXPECT_THAT(netSnmpLog(), IsEmpty());
  snmp_set_do_debugging(1);
  debug_register_tokens("trace,IpBase");
  Snmp::debugInitializing("IpBase", "init_IpBase", 12);
  snmp_set_do_debugging(0);
  std::string all;
  for (auto const& line : netSnmpLog()) all += line;
  EXPECT_THAT(all, HasSubstr("trace: "));
  EXPECT_THAT(all, HasSubstr("init_IpBase(): IpBase, 12:\n"));
  EXPECT_THAT(all, HasSubstr("IpBase: "));
  EXPECT_THAT(all, HasSubstr("Initializing\n"));
}

}  // namespace
