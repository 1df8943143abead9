// The vendor table, registered as in the daemon, over snapshots of the test's own.

#include "handlers/brivet/ip_sw_forwarding.h"

#include <gmock/gmock.h>

#include "model/ip_mib.h"
#include "platform/mav/directory.h"
#include "platform/mav/time.h"
#include "platform/snmp/framework.h"
#include "tests/handlers/agent_request.h"

namespace {

using Testing::AgentRequest;
using Testing::Oid;
using Testing::Reply;

class IpSwForwardingTest : public testing::Test {
 protected:
  static constexpr std::uint64_t large = 0x0000'0007'8000'0001U;

  IpSwForwardingTest() {
    Testing::startAgentLibrary();
    Mav::Directory::root().mount(IpSnmp::IpMib::path, mib_);
    for (auto const version : {Ip::ipVersion6, Ip::ipVersion4}) {
      Ip::SwFwdStatsData data;
      data.inReceivesIs(large + static_cast<std::uint64_t>(version));
      data.fragOKsIs(2);
      data.fragFailsIs(3);
      auto const stats = mib_->ipSwFwdStatsIs(version);
      stats->dataIs(data);
      stats->lastUpdateIs(Mav::now());
    }
    framework_.registerAll();
  }
  ~IpSwForwardingTest() override {
    framework_.unregisterAll();
    Mav::Directory::root().unmountAll();
  }

  static Oid cell(std::initializer_list<oid> rest) {
    Oid name{1, 3, 6, 1, 4, 1, 99999, 3, 1, 1, 1, 1};
    name.insert(name.end(), rest);
    return name;
  }
  static Reply ask(int mode, Oid const& name) { return *AgentRequest(mode, name).registered(); }
  static Reply get(oid column, oid version) { return ask(MODE_GET, cell({column, version})); }

  Mav::SimulatedTime time_;
  Mav::Ptr<IpSnmp::IpMib> const mib_ = Mav::makeObject<IpSnmp::IpMib>("ipmib");
  Snmp::Framework framework_;
};

TEST_F(IpSwForwardingTest, AWalkHasTheColumnsInOrderAndIpv4First) {
  std::vector<Oid> walked;
  for (auto reply = ask(MODE_GETNEXT, cell({})); reply.type != ASN_NULL && walked.size() < 100;
       reply = ask(MODE_GETNEXT, walked.back())) {
    walked.push_back(reply.name);
  }
  std::vector<Oid> expected;
  for (oid column = 3; column <= 47; ++column) {
    expected.insert(expected.end(), {cell({column, 1}), cell({column, 2})});
  }
  EXPECT_EQ(walked, expected);
}

TEST_F(IpSwForwardingTest, CountersHave32Or64BitsOfTheSameCount) {
  EXPECT_EQ(get(3, 1).type, ASN_COUNTER);
  EXPECT_EQ(get(3, 1).value, 0x80000002L);
  EXPECT_EQ(get(4, 1).type, ASN_COUNTER64);
  EXPECT_EQ(get(4, 1).value, static_cast<long>(large) + 1);
  EXPECT_EQ(get(4, 2).value, static_cast<long>(large) + 2);
  EXPECT_EQ(get(26, 2).value, 5);
  EXPECT_EQ(get(46, 2).type, ASN_TIMETICKS);
  EXPECT_EQ(get(46, 2).value, 0);
  EXPECT_EQ(get(47, 1).type, ASN_UNSIGNED);
  EXPECT_EQ(get(47, 1).value, 500);
}

TEST_F(IpSwForwardingTest, NoColumnCanBeSet) {
  for (oid const column : {3U, 47U}) {
    EXPECT_EQ(ask(MODE_SET_RESERVE1, cell({column, 1})).error, SNMP_ERR_NOTWRITABLE);
  }
}

}  // namespace
