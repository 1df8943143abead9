// The scalars: their callbacks as net-snmp calls them, and the units as the framework registers
// them, asked through the agent library.

#include "handlers/ip_mib/ip_base.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "handlers/ip_forward_mib/ip_forward.h"
#include "model/ip_forward_mib.h"
#include "platform/mav/directory.h"
#include "platform/snmp/framework.h"
#include "platform/snmp/registrations.h"
#include "platform/state/entities/routing_config.h"
#include "tests/handlers/agent_request.h"
#include "tests/handlers/traces.h"

namespace {

using Testing::AgentRequest;
using testing::EndsWith;
using Testing::Oid;
using Testing::Reply;

Oid const ipForwarding{1, 3, 6, 1, 2, 1, 4, 1, 0};
Oid const ipv6IpForwarding{1, 3, 6, 1, 2, 1, 4, 25, 0};

struct Scalar {
  std::string name;
  Netsnmp_Node_Handler* handler;
  unsigned char type;
};

Scalar const scalars[] = {{"ipForwarding", handle_ipForwarding, ASN_INTEGER},
                          {"ipv6IpForwarding", handle_ipv6IpForwarding, ASN_INTEGER},
                          {"ipCidrRouteNumber", handle_ipCidrRouteNumber, ASN_GAUGE}};

class ScalarTest : public testing::TestWithParam<Scalar> {
 protected:
  ScalarTest() {
    config_->routingIs(true);
    config6_->routingIs(true);
    addRoute("192.0.2.1");
  }
  void addRoute(char const* nextHop) {
    mib_->ipCidrRouteTableIs({{}, {}, 0, Dovel::IpAddr(nextHop)}, 3, {}, {},
                             Routing::Fib::routeTypeStatic);
  }
  static Reply ask(int mode, void* entity) {
    return AgentRequest(mode, ipForwarding).callback(GetParam().handler, entity);
  }
  void* entity() const {
    if (GetParam().name == "ipForwarding") return config_.get();
    return GetParam().name == "ipv6IpForwarding" ? static_cast<void*>(config6_.get()) : mib_.get();
  }

  Mav::Ptr<Routing::Config> const config_ = Mav::makeObject<Routing::Config>();
  Mav::Ptr<Routing6::Config> const config6_ = Mav::makeObject<Routing6::Config>();
  Mav::Ptr<IpSnmp::IpForwardMib> const mib_ = IpSnmp::ipForwardMibFactory("ipforwardmib");
};

INSTANTIATE_TEST_SUITE_P(Each, ScalarTest, testing::ValuesIn(scalars),
                         [](auto const& test) { return test.param.name; });

TEST_P(ScalarTest, GetReadsTheEntityAtEachRequest) {
  auto const reply = ask(MODE_GET, entity());
  EXPECT_EQ(reply.returned, SNMP_ERR_NOERROR);
  EXPECT_EQ(reply.error, SNMP_ERR_NOERROR);
  EXPECT_EQ(reply.type, GetParam().type);
  EXPECT_EQ(reply.value, 1);
  config_->routingIs(false);
  config6_->routingIs(false);
  addRoute("192.0.2.2");
  EXPECT_EQ(ask(MODE_GET, entity()).value, 2);
}

TEST_P(ScalarTest, WhatIsNoGetOfAnEntityFailsWithoutAValue) {
  Testing::Traces const traces(2);
  for (int mode = MODE_SET_RESERVE1; mode <= MODE_SET_UNDO; ++mode) {
    auto const reply = ask(mode, nullptr);
    EXPECT_EQ(reply.returned, SNMP_ERR_NOERROR) << mode;
    EXPECT_EQ(reply.error, SNMP_ERR_NOTWRITABLE) << mode;
    EXPECT_THAT(traces.lines.back(), EndsWith("SET is not configured for " + GetParam().name));
  }
  for (auto const& [mode, source] : {std::pair{159, entity()},
                                     {MODE_GETNEXT, entity()},
                                     {MODE_GET, static_cast<void*>(nullptr)}}) {
    auto const reply = ask(mode, source);
    EXPECT_EQ(reply.returned, SNMP_ERR_GENERR) << mode;
    EXPECT_EQ(reply.error, SNMP_ERR_GENERR) << mode;
    EXPECT_EQ(reply.type, ASN_NULL) << mode;
  }
}

class IpBaseTest : public testing::Test {
 protected:
  IpBaseTest() { Testing::startAgentLibrary(); }
  ~IpBaseTest() override {
    framework_.unregisterAll();
    Mav::Directory::root().unmountAll();
  }
  static std::optional<Reply> get(Oid const& instance) {
    return AgentRequest(MODE_GET, instance).registered();
  }

  Snmp::Framework framework_;
};

TEST_F(IpBaseTest, RegistrationsAreReadWriteBeforeOtherModulesAndGoWithoutATrace) {
  for (int round = 0; round < 3; ++round) {
    framework_.registerAll();
    EXPECT_FALSE(Snmp::registrations().empty());
    for (auto const& object : {ipForwarding, ipv6IpForwarding}) {
      auto const* const subtree = netsnmp_subtree_find(object.data(), object.size(), nullptr, "");
      EXPECT_EQ(subtree->reginfo->priority, 64);
      EXPECT_EQ(subtree->reginfo->modes, HANDLER_CAN_RWRITE);
      EXPECT_EQ(subtree->reginfo->rootoid_len, 8U);
    }
    framework_.unregisterAll();
    EXPECT_TRUE(Snmp::registrations().empty());
    for (auto const& object : {ipForwarding, ipv6IpForwarding}) {
      EXPECT_EQ(get(object), std::nullopt);
    }
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

}  // namespace
