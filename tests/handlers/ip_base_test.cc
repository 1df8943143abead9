// The scalars: their callbacks as net-snmp calls them, and the units as the framework registers
// them, asked through the agent library.

#include "handlers/ip_mib/ip_base.h"

#include <cstring>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "handlers/ip_conversions.h"
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
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using Testing::Oid;
using Testing::Reply;

Oid const ipForwarding{1, 3, 6, 1, 2, 1, 4, 1, 0};
Oid const ipv6IpForwarding{1, 3, 6, 1, 2, 1, 4, 25, 0};

struct Scalar {
  std::string name, path, read, converter, entityType;
  Netsnmp_Node_Handler* handler;
  unsigned char type;
};

Scalar const scalars[] = {
    {"ipForwarding", "Kelbase/routing/config", "routing", "IpRoutingToAsnInteger",
     "Routing::Config", handle_ipForwarding, ASN_INTEGER},
    {"ipv6IpForwarding", "Kelbase/routing6/config", "routing", "IpRoutingToAsnInteger",
     "Routing6::Config", handle_ipv6IpForwarding, ASN_INTEGER},
    {"ipCidrRouteNumber", "snmp/ip/ipforwardmib", "ipCidrRouteTables", "S32ToAsnInteger",
     "IpSnmp::IpForwardMib", handle_ipCidrRouteNumber, ASN_GAUGE},
};

class ScalarTest : public testing::TestWithParam<Scalar> {
 protected:
  ScalarTest() {
    config_->routingIs(true);
    config6_->routingIs(true);
    mib_->ipCidrRouteTableIs({{}, {}, 0, Dovel::IpAddr("192.0.2.1")}, 3, {}, {},
                             Routing::Fib::routeTypeStatic);
  }
  /// The reply to a request, and in `lines_` what was traced, without the scalar's name.
  Reply ask(int mode, void* entity) {
    Testing::Traces const traces(2);
    auto const reply = AgentRequest(mode, ipForwarding).callback(GetParam().handler, entity);
    lines_.clear();
    for (auto const& line : traces.lines) {
      auto const head = "handle_" + GetParam().name + " - ";
      auto const at = line.find(head);
      EXPECT_NE(at, line.npos) << line;
      lines_.push_back(line.substr(std::min(line.size(), at + head.size())));
    }
    return reply;
  }
  void* entity() const {
    if (GetParam().name == "ipForwarding") return config_.get();
    return GetParam().name == "ipv6IpForwarding" ? static_cast<void*>(config6_.get()) : mib_.get();
  }

  Mav::Ptr<Routing::Config> const config_ = Mav::makeObject<Routing::Config>();
  Mav::Ptr<Routing6::Config> const config6_ = Mav::makeObject<Routing6::Config>();
  Mav::Ptr<IpSnmp::IpForwardMib> const mib_ = IpSnmp::ipForwardMibFactory("ipforwardmib");
  std::vector<std::string> lines_;
};

INSTANTIATE_TEST_SUITE_P(Each, ScalarTest, testing::ValuesIn(scalars),
                         [](auto const& test) { return test.param.name; });

TEST_P(ScalarTest, GetReadsTheEntityAtEachRequest) {
  auto const& scalar = GetParam();
  auto const reply = ask(MODE_GET, entity());
  EXPECT_EQ(reply.returned, SNMP_ERR_NOERROR);
  EXPECT_EQ(reply.error, SNMP_ERR_NOERROR);
  EXPECT_EQ(reply.type, GetParam().type);
  EXPECT_EQ(reply.value, 1);
  auto const source = scalar.path + "->" + scalar.read + "()";
  EXPECT_THAT(lines_, ElementsAre("reading " + source,
                                  scalar.converter + " returned 4bytes for " + source));
  config_->routingIs(false);
  config6_->routingIs(false);
  mib_->ipCidrRouteTableIs({{}, {}, 0, Dovel::IpAddr("192.0.2.2")}, 3, {}, {},
                           Routing::Fib::routeTypeStatic);
  EXPECT_EQ(ask(MODE_GET, entity()).value, 2);
}

TEST_P(ScalarTest, WhatIsNoGetOfAnEntityFailsWithoutAValue) {
  for (int mode = MODE_SET_RESERVE1; mode <= MODE_SET_UNDO; ++mode) {
    for (auto* const source : {entity(), static_cast<void*>(nullptr)}) {
      auto const reply = ask(mode, source);
      EXPECT_EQ(reply.returned, SNMP_ERR_NOERROR) << mode;
      EXPECT_EQ(reply.error, SNMP_ERR_NOTWRITABLE) << mode;
      EXPECT_THAT(lines_, ElementsAre("SET is not configured for " + GetParam().name));
    }
  }
  auto const fails = [this](int mode, void* source, std::string const& text) {
    auto const reply = ask(mode, source);
    EXPECT_EQ(reply.returned, SNMP_ERR_GENERR) << mode;
    EXPECT_EQ(reply.error, SNMP_ERR_GENERR) << mode;
    EXPECT_EQ(reply.type, ASN_NULL) << mode;
    EXPECT_THAT(lines_, ElementsAre(text));
  };
  for (int const mode : {-1, 6, 159, int{MODE_GETNEXT}, int{MODE_GETBULK}}) {
    fails(mode, entity(), "unknown mode from request: " + std::to_string(mode));
  }
  fails(MODE_GET, nullptr,
        "entity /<sysname>/" + GetParam().path + " is not of type " + GetParam().entityType);
}

TEST(IpRoutingToAsnInteger, NeedsFourBytes) {
  unsigned char buffer[5] = {9, 9, 9, 9, 9};
  EXPECT_LT(IpSnmp::IpRoutingToAsnInteger(true, buffer, 3), 0);
  EXPECT_THAT(buffer, ElementsAre(9, 9, 9, 9, 9));
  EXPECT_EQ(IpSnmp::IpRoutingToAsnInteger(false, buffer, 4), 4);
  int word = 0;
  std::memcpy(&word, buffer, sizeof word);
  EXPECT_EQ(word, 2);
  EXPECT_EQ(buffer[4], 9);
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
    EXPECT_NE(Snmp::registrationCount(), 0U);
    for (auto const& object : {ipForwarding, ipv6IpForwarding}) {
      auto const* const subtree = netsnmp_subtree_find(object.data(), object.size(), nullptr, "");
      EXPECT_EQ(subtree->reginfo->priority, 64);
      EXPECT_EQ(subtree->reginfo->modes, HANDLER_CAN_RWRITE);
      EXPECT_EQ(subtree->reginfo->rootoid_len, 8U);
    }
    framework_.unregisterAll();
    EXPECT_EQ(Snmp::registrationCount(), 0U);
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

TEST_F(IpBaseTest, TheOidsAreTracedAtLevelOneOnly) {
  {
    Testing::Traces const other(2);
    framework_.registerAll();
    EXPECT_THAT(other.lines, testing::IsEmpty());
  }
  framework_.unregisterAll();
  Testing::Traces const traces(1);
  framework_.registerAll();
  auto const line = [](std::string const& text, std::string const& end) {
    return testing::AllOf(HasSubstr(text + " initializing oid "), EndsWith(end));
  };
  EXPECT_THAT(traces.lines,
              ElementsAre(line("init_IpBase", ".4.1"), line("init_IpBase", ".4.25"),
                          line("initialize_table_ipAddrTable", ".4.20"),
                          line("initialize_table_ipNetToMediaTable", ".4.22"),
                          line("initialize_table_ipAddressPrefixTable", ".4.32"),
                          line("initialize_table_ipAddressTable", ".4.34"),
                          line("init_IpForward", ".24.3"), line("init_IpForward", ".24.4"),
                          line("initialize_table_ipCidrRouteTable", ".24.4"),
                          line("initialize_table_brivetSwFwdIpStatsTable", ".99999.3.1.1.1"),
                          line("initialize_table_ipNetToPhysicalTable", ".4.35"),
                          line("init_InetForward", ".24.6"), line("init_InetForward", ".24.7"),
                          line("initialize_table_inetCidrRouteTable", ".24.7"),
                          line("init_KelbaseHealth", ".99999.3.2.1"),
                          line("initialize_table_brivetKelbaseRecordsTable", ".3.2.1.9")));
}

}  // namespace
