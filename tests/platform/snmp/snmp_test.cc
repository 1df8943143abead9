#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/mav/directory.h"
#include "platform/snmp/callback.h"
#include "platform/snmp/framework.h"
#include "platform/snmp/handler_registration.h"
#include "tests/support/log_lines.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

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
  LogLines log;
  Snmp::Framework framework;
  framework.registerAll();
  framework.registerAll();
  EXPECT_THAT(story, ElementsAre("faulty", "second"));
  EXPECT_THAT(log.take(), ElementsAre(HasSubstr("no such luck")));
  framework.unregisterAll();
  EXPECT_FALSE(framework.registered());
  framework.registerAll();
  EXPECT_THAT(story, ElementsAre("faulty", "second", "faulty", "second"));
}

TEST(Callback, AnExceptionBecomesGenErrAndOneLogLine) {
  LogLines log;
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
  EXPECT_THAT(log.take(), ElementsAre(HasSubstr("handle_it: broken invariant"),
                                      HasSubstr("alarm: an exception of unknown type")));
}

}  // namespace
