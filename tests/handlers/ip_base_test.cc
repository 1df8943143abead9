#include "handlers/ip_base.h"

#include <cstring>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "handlers/forwarding_scalar.h"
#include "platform/mav/directory.h"
#include "platform/snmp/framework.h"
#include "platform/snmp/registrations.h"
#include "platform/state/routing6_config.h"
#include "platform/state/routing_config.h"
#include "tests/handlers/agent_request.h"
#include "tests/handlers/traces.h"

namespace {

using Testing::AgentRequest;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using Testing::Oid;
using Testing::Reply;

Oid const ipForwarding{1, 3, 6, 1, 2, 1, 4, 1, 0};
Oid const ipv6IpForwarding{1, 3, 6, 1, 2, 1, 4, 25, 0};

struct Traces : Testing::Traces {
  explicit Traces(int level) : Testing::Traces(level, IpBase::traceHandle()) {}
};

/// One of the two scalars.
struct Scalar {
  std::string name, path, type;
  Netsnmp_Node_Handler* handler;
  ForwardingScalar const& data;
  Oid instance;

  std::string text(std::string const& rest) const { return "handle_" + name + " - " + rest; }
};

Scalar const scalars[] = {
    {"ipForwarding", "Kelbase/routing/config", "Routing::Config", handle_ipForwarding,
     ipForwardingScalar, ipForwarding},
    {"ipv6IpForwarding", "Kelbase/routing6/config", "Routing6::Config", handle_ipv6IpForwarding,
     ipv6IpForwardingScalar, ipv6IpForwarding},
};

class ForwardingScalarTest : public testing::TestWithParam<Scalar> {
 protected:
  Reply ask(int mode, void* entity) {
    return AgentRequest(mode, GetParam().instance).callback(GetParam().handler, entity);
  }
  static std::string text(std::string const& rest) { return GetParam().text(rest); }
  /// The scalar's own entity, as net-snmp carries it.
  void* entity(bool routing) {
    config_->routingIs(routing);
    config6_->routingIs(routing);
    return GetParam().name == "ipForwarding" ? static_cast<void*>(config_.get())
                                             : static_cast<void*>(config6_.get());
  }

  Mav::Ptr<Routing::Config> config_ = Mav::makeObject<Routing::Config>();
  Mav::Ptr<Routing6::Config> config6_ = Mav::makeObject<Routing6::Config>();
};

INSTANTIATE_TEST_SUITE_P(Both, ForwardingScalarTest, testing::ValuesIn(scalars),
                         [](auto const& test) { return test.param.name; });

TEST_P(ForwardingScalarTest, GetReadsTheEntityAtEachRequest) {
  for (bool const routing : {true, false}) {
    auto const reply = ask(MODE_GET, entity(routing));
    EXPECT_EQ(reply.returned, SNMP_ERR_NOERROR);
    EXPECT_EQ(reply.error, SNMP_ERR_NOERROR);
    EXPECT_EQ(reply.type, ASN_INTEGER);
    EXPECT_EQ(reply.value, routing ? 1 : 2);
  }
  Traces const traces(2);
  ask(MODE_GET, entity(true));
  EXPECT_THAT(traces.lines,
              ElementsAre(EndsWith(text("reading " + GetParam().path + "->routing()")),
                          EndsWith(text("IpRoutingToAsnInteger returned 4bytes for " +
                                        GetParam().path + "->routing()"))));
}

TEST_P(ForwardingScalarTest, EveryPhaseOfASetIsNotWritable) {
  Traces traces(2);
  for (int mode = 0; mode <= 5; ++mode) {
    for (auto* const source : {entity(true), static_cast<void*>(nullptr)}) {
      traces.lines.clear();
      auto const reply = ask(mode, source);
      EXPECT_EQ(reply.returned, SNMP_ERR_NOERROR) << mode;
      EXPECT_EQ(reply.error, SNMP_ERR_NOTWRITABLE) << mode;
      EXPECT_THAT(traces.lines,
                  ElementsAre(EndsWith(text("SET is not configured for " + GetParam().name))));
    }
  }
}

TEST_P(ForwardingScalarTest, GetWithoutAnEntityFailsWithoutAValue) {
  Traces const traces(2);
  auto const reply = ask(MODE_GET, nullptr);
  EXPECT_EQ(reply.returned, SNMP_ERR_GENERR);
  EXPECT_EQ(reply.error, SNMP_ERR_GENERR);
  EXPECT_EQ(reply.type, ASN_NULL);
  EXPECT_THAT(traces.lines, ElementsAre(EndsWith(text("entity /<sysname>/" + GetParam().path +
                                                      " is not of type " + GetParam().type))));
}

TEST_P(ForwardingScalarTest, OtherModesFail) {
  Traces traces(2);
  for (int const mode : std::vector<int>{-1, 6, 159, MODE_GETNEXT, MODE_GETBULK}) {
    traces.lines.clear();
    auto const reply = ask(mode, entity(true));
    EXPECT_EQ(reply.returned, SNMP_ERR_GENERR) << mode;
    EXPECT_EQ(reply.error, SNMP_ERR_GENERR) << mode;
    EXPECT_THAT(traces.lines,
                ElementsAre(EndsWith(text("unknown mode from request: " + std::to_string(mode)))));
  }
}

TEST_P(ForwardingScalarTest, AFailedConversionFailsTheRequest) {
  auto scalar = GetParam().data;
  scalar.convert = [](bool, unsigned char*, std::int32_t) { return -1; };
  Traces const traces(2);
  netsnmp_agent_request_info info{};
  netsnmp_variable_list variable{};
  netsnmp_request_info request{};
  variable.type = ASN_NULL;
  request.requestvb = &variable;
  request.agent_req_info = &info;
  bool const routing = true;
  EXPECT_EQ(answerForwarding(scalar, &routing, MODE_GET, &request), SNMP_ERR_GENERR);
  EXPECT_EQ(request.status, SNMP_ERR_GENERR);
  EXPECT_EQ(variable.type, ASN_NULL);
  EXPECT_THAT(traces.lines.at(1), HasSubstr("IpRoutingToAsnInteger returned -1bytes for "));
  EXPECT_THAT(traces.lines.at(2), EndsWith(text("IpRoutingToAsnInteger failed for: routing")));
}

TEST(IpRoutingToAsnInteger, NeedsFourBytes) {
  unsigned char buffer[5] = {9, 9, 9, 9, 9};
  EXPECT_LT(IpRoutingToAsnInteger(true, buffer, 3), 0);
  EXPECT_THAT(buffer, ElementsAre(9, 9, 9, 9, 9));
  EXPECT_EQ(IpRoutingToAsnInteger(false, buffer, 4), 4);
  int word = 0;
  std::memcpy(&word, buffer, sizeof word);
  EXPECT_EQ(word, 2);
  EXPECT_EQ(buffer[4], 9);
}

/// The unit as the framework registers it, asked through the agent library.
class IpBaseTest : public testing::Test {
 protected:
  IpBaseTest() { Testing::startAgentLibrary(); }
  ~IpBaseTest() override {
    framework_.unregisterAll();
    Mav::Directory::root().unmountAll();
  }

  template <class Config>
  void know(bool routing) {
    auto const config = Mav::makeObject<Config>();
    config->routingIs(routing);
    Mav::Directory::root().mount(Config::path, config);
  }
  static std::optional<Reply> get(Oid const& instance) {
    return AgentRequest(MODE_GET, instance).registered();
  }

  Snmp::Framework framework_;
};

TEST_F(IpBaseTest, BothScalarsAreServedOnceRegisteredAndGoneAfterwards) {
  know<Routing::Config>(true);
  know<Routing6::Config>(false);
  EXPECT_EQ(get(ipForwarding), std::nullopt);
  for (int round = 0; round < 5; ++round) {
    framework_.registerAll();
    EXPECT_EQ(Snmp::registrationCount(), 7U);
    EXPECT_EQ(get(ipForwarding)->value, 1);
    EXPECT_EQ(get(ipv6IpForwarding)->value, 2);
    framework_.unregisterAll();
    EXPECT_EQ(Snmp::registrationCount(), 0U);
    EXPECT_EQ(get(ipForwarding), std::nullopt);
    EXPECT_EQ(get(ipv6IpForwarding), std::nullopt);
  }
}

TEST_F(IpBaseTest, RegistrationsAreReadWriteAndComeBeforeOtherModules) {
  framework_.registerAll();
  for (auto const& object : {ipForwarding, ipv6IpForwarding}) {
    auto const* const subtree = netsnmp_subtree_find(object.data(), object.size(), nullptr, "");
    EXPECT_EQ(subtree->reginfo->priority, 64);
    EXPECT_EQ(subtree->reginfo->modes, HANDLER_CAN_RWRITE);
    EXPECT_EQ(subtree->reginfo->rootoid_len, 8U);
  }
}

TEST_F(IpBaseTest, AnEntityOfAnotherClassIsNoEntityAndNoneIsOwned) {
  auto const config = Mav::makeObject<Routing::Config>();
  Mav::Directory::root().mount(Routing::Config::path, config);
  Mav::Directory::root().mount(Routing6::Config::path, Mav::makeObject<Routing::Config>());
  auto const before = config->use_count();
  framework_.registerAll();
  EXPECT_EQ(config->use_count(), before);
  EXPECT_EQ(get(ipForwarding)->value, 2);
  EXPECT_EQ(get(ipv6IpForwarding)->returned, SNMP_ERR_GENERR);
}

TEST_F(IpBaseTest, TheOidsAreTracedAtLevelOneOnly) {
  std::optional<Traces> other(2);
  framework_.registerAll();
  EXPECT_THAT(other->lines, IsEmpty());
  other.reset();
  framework_.unregisterAll();
  Traces const traces(1);
  framework_.registerAll();
  auto const line = [](std::string const& text, std::string const& end) {
    return testing::AllOf(HasSubstr(text + " initializing oid "), EndsWith(end));
  };
  EXPECT_THAT(traces.lines,
              ElementsAre(line("init_IpBase", ".4.1"), line("init_IpBase", ".4.25"),
                          line("initialize_table_ipAddrTable", ".4.20"),
                          line("initialize_table_ipAddressPrefixTable", ".4.32"),
                          line("initialize_table_ipAddressTable", ".4.34"),
                          line("init_IpForward", ".24.3"), line("init_IpForward", ".24.4"),
                          line("initialize_table_ipCidrRouteTable", ".24.4")));
}

}  // namespace
