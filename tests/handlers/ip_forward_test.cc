// The objects of IP-FORWARD-MIB, registered as in the daemon and asked in whole PDUs, held against
// one ordered tree of what they are expected to hold.

#include "handlers/ip_forward.h"

#include <map>
#include <random>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "handlers/ip_cidr_route_table.h"
#include "model/ip_forward_mib.h"
#include "model/protocol_map.h"
#include "platform/mav/directory.h"
#include "platform/snmp/framework.h"
#include "platform/state/routing6_config.h"
#include "tests/handlers/agent_session.h"
#include "tests/handlers/traces.h"

namespace {

using Dovel::IpAddr;
using Dovel::Prefix;
using Testing::AgentRequest;
using Testing::AgentSession;
using Testing::Binding;
using testing::Contains;
using testing::ElementsAre;
using Testing::Oid;
using Testing::Traces;
using namespace Routing::Fib;

using Tree = std::map<Oid, Binding>;

Oid const ipCidrRouteNumber{1, 3, 6, 1, 2, 1, 4, 24, 3, 0};
Oid const ipCidrRouteEntry{1, 3, 6, 1, 2, 1, 4, 24, 4, 1};
// What follows the table in the agent.
Oid const ipv6IpForwarding{1, 3, 6, 1, 2, 1, 4, 25, 0};

Oid joined(Oid name, Oid const& rest) {
  name.insert(name.end(), rest.begin(), rest.end());
  return name;
}

Oid oidOf(IpAddr address) {
  auto const octets = address.octets();
  return {octets.begin(), octets.end()};
}

std::string hex(IpAddr address) {
  std::string text;
  for (auto const octet : address.octets()) {
    text += "0123456789abcdef"[octet >> 4];
    text += "0123456789abcdef"[octet & 15];
  }
  return text;
}

struct Row {
  std::string prefix;
  std::string nextHop;
  std::uint32_t ifIndex;
  std::uint32_t metric;
  std::uint8_t preference;
  RouteType type;
  int proto;

  Oid instance() const {
    Prefix const destination(prefix);
    auto const head = joined(oidOf(destination.address()), oidOf(destination.mask()));
    return joined(joined(head, {0}), oidOf(IpAddr(nextHop)));
  }
};

std::vector<Row> const sample{
    {"0.0.0.0/0", "192.0.2.1", 2, 0, 1, routeTypeStatic, 3},
    {"10.0.0.0/8", "192.0.2.1", 2, 20, 110, routeTypeOspfExternal1, 13},
    {"10.0.0.0/24", "0.0.0.0", 3, 0, 0, routeTypeConnected, 2},
    {"10.0.0.0/32", "192.0.2.1", 2, 4294967295, 255, routeTypeInternalBgp, 14},
    {"10.0.0.0/32", "192.0.2.129", 70000, 4294967295, 255, routeTypeInternalBgp, 14},
    {"128.0.0.0/1", "203.0.113.9", 0, 7, 120, routeTypeRip, 8},
    {"255.255.255.255/32", "255.255.255.255", 1, 1, 200, routeTypeDhcp, 1},
};

class IpForwardTest : public testing::Test {
 protected:
  IpForwardTest() {
    Testing::startAgentLibrary();
    Mav::Directory::root().mount(IpSnmp::IpForwardMib::path, mib_);
    Mav::Directory::root().mount(Routing6::Config::path, Mav::makeObject<Routing6::Config>());
    framework_.registerAll();
    for (auto const& row : sample) {
      if (row.proto != 1) {
        IpSnmp::protocolMap().protocolIs(
            row.type, IpSnmp::IpRouteProtocolInstance(static_cast<std::uint32_t>(row.proto)));
      }
    }
    cell(ipv6IpForwarding, ASN_INTEGER, "2");
    expectNumber();
  }
  ~IpForwardTest() override {
    framework_.unregisterAll();
    Mav::Directory::root().unmountAll();
    IpSnmp::protocolMap().protocolDelAll();
  }

  void add(Row const& row) {
    Prefix const prefix(row.prefix);
    mib_->ipCidrRouteTableIs({prefix.address(), prefix.mask(), 0, IpAddr(row.nextHop)}, row.ifIndex,
                             Routing::RouteMetric(row.metric),
                             Routing::RoutePreference(row.preference), row.type);
    expect(row);
    expectNumber();
  }
  void addSample() {
    for (auto const& row : sample) add(row);
  }

  void cell(Oid const& name, unsigned char type, std::string value) {
    tree_[name] = {name, type, std::move(value)};
  }
  void expectNumber() {
    cell(ipCidrRouteNumber, ASN_GAUGE, std::to_string(mib_->ipCidrRouteTables()));
  }
  void expect(Row const& row) {
    Prefix const prefix(row.prefix);
    auto const number = [](std::uint32_t value) {  // as an INTEGER
      return std::to_string(static_cast<std::int32_t>(value));
    };
    std::vector<std::pair<unsigned char, std::string>> const cells{
        {ASN_IPADDRESS, hex(prefix.address())},
        {ASN_IPADDRESS, hex(prefix.mask())},
        {ASN_INTEGER, "0"},
        {ASN_IPADDRESS, hex(IpAddr(row.nextHop))},
        {ASN_INTEGER, number(row.ifIndex)},
        {ASN_INTEGER, "1"},
        {ASN_INTEGER, std::to_string(row.proto)},
        {ASN_INTEGER, "-1"},
        {ASN_OBJECT_ID, ".0.0"},
        {ASN_INTEGER, "0"},
        {ASN_INTEGER, number(row.metric)},
        {ASN_INTEGER, number(row.preference)},
        {ASN_INTEGER, "-1"},
        {ASN_INTEGER, "-1"},
        {ASN_INTEGER, "-1"},
        {ASN_INTEGER, "1"}};
    for (oid column = 1; column <= cells.size(); ++column) {
      cell(joined(joined(ipCidrRouteEntry, {column}), row.instance()), cells[column - 1].first,
           cells[column - 1].second);
    }
  }

  Binding successor(Oid const& name) const {
    auto const next = tree_.upper_bound(name);
    return next == tree_.end() ? Binding{name, SNMP_ENDOFMIBVIEW, ""} : next->second;
  }
  Binding next(Oid const& name) {
    auto const response = session_.getNext({name});
    EXPECT_EQ(response.error, 0) << Testing::dotted(name);
    return response.bindings.at(0);
  }
  Binding get(Oid const& name) {
    auto const response = session_.get({name});
    EXPECT_EQ(response.error, 0) << Testing::dotted(name);
    return response.bindings.at(0);
  }
  void probe(Oid const& name) {
    EXPECT_EQ(next(name), successor(name)) << "after " << Testing::dotted(name);
    auto const found = get(name);
    if (auto const cell = tree_.find(name); cell != tree_.end()) {
      EXPECT_EQ(found, cell->second);
    } else {
      EXPECT_TRUE(found.type == SNMP_NOSUCHINSTANCE || found.type == SNMP_NOSUCHOBJECT)
          << Testing::dotted(name);
    }
  }

  Mav::Ptr<IpSnmp::IpForwardMib> const mib_ = IpSnmp::ipForwardMibFactory("ipforwardmib");
  Snmp::Framework framework_;
  Tree tree_;
  AgentSession session_;
};

TEST_F(IpForwardTest, AnEmptyCacheCountsZeroAndHoldsNothing) {
  EXPECT_EQ(next({1, 3, 6, 1, 2, 1, 4, 24}), tree_.begin()->second);
  EXPECT_EQ(next(ipCidrRouteNumber).name, ipv6IpForwarding);
  EXPECT_EQ(get(joined(joined(ipCidrRouteEntry, {5}), sample[0].instance())).type,
            SNMP_NOSUCHINSTANCE);
}

TEST_F(IpForwardTest, EveryCellIsAnsweredAndFollowedByTheNext) {
  addSample();
  for (auto const& [name, cell] : tree_) probe(name);
}

/// Cut at every length, longer ones, and each sub-identifier changed.
TEST_F(IpForwardTest, NamesThatAreNoRowsHaveTheRightSuccessor) {
  addSample();
  std::set<Oid> probes;
  for (auto const& row : sample) {
    auto const name = joined(joined(ipCidrRouteEntry, {11}), row.instance());
    probes.insert(joined(name, {0}));
    for (std::size_t place = ipCidrRouteEntry.size(); place < name.size(); ++place) {
      probes.insert(Oid(name.begin(), name.begin() + static_cast<std::ptrdiff_t>(place)));
      for (oid const value :
           {oid{0}, name[place] + 1, name[place] - 1, oid{256}, oid{0xffffffff}}) {
        auto changed = name;
        changed[place] = value & 0xffffffff;
        probes.insert(changed);
      }
    }
  }
  for (auto const& name : probes) probe(name);
}

TEST_F(IpForwardTest, EverySetIsNotWritable) {
  add(sample[1]);
  Traces const traces(2);
  std::map<oid, std::string> const writable{
      {5, "IfIndex"},  {6, "Type"},     {9, "Info"},     {10, "NextHopAS"}, {11, "Metric1"},
      {12, "Metric2"}, {13, "Metric3"}, {14, "Metric4"}, {15, "Metric5"},   {16, "Status"}};
  for (oid column = 1; column <= 16; ++column) {
    auto const name = joined(joined(ipCidrRouteEntry, {column}), sample[1].instance());
    EXPECT_EQ(session_.set(name, ASN_INTEGER).error, SNMP_ERR_NOTWRITABLE) << column;
    auto const known = writable.find(column);
    auto const text =
        known == writable.end()
            ? "ipCidrRouteTable invalid column " + std::to_string(column)
            : "ipCidrRouteTable_handler: SET is not configured for column ipCidrRoute" +
                  known->second;
    EXPECT_THAT(traces.lines, Contains(text));
  }
  EXPECT_EQ(session_.set(ipCidrRouteNumber, ASN_INTEGER).error, SNMP_ERR_NOTWRITABLE);
}

TEST_F(IpForwardTest, ThePassesOfARequestAreTraced) {
  add(sample[1]);
  Traces const traces(6);
  get(joined(joined(ipCidrRouteEntry, {7}), sample[1].instance()));
  EXPECT_THAT(traces.lines,
              ElementsAre("protoMap converted routeTypeOspfExternal1 to ipRouteProtocolOspf"));
}

/// The scalar's callback, without the agent before it.
TEST_F(IpForwardTest, TheNumberOfRowsIsReadAtEachRequestAndRefusesAllElse) {
  Traces traces(2);
  auto const ask = [&](int mode, void* entity) {
    traces.lines.clear();
    return AgentRequest(mode, ipCidrRouteNumber).callback(handle_ipCidrRouteNumber, entity);
  };
  auto const text = [](std::string const& end) { return "handle_ipCidrRouteNumber - " + end; };
  auto const reading = text("reading snmp/ip/ipforwardmib->ipCidrRouteTables()");
  auto const converted =
      text("S32ToAsnInteger returned 4bytes for snmp/ip/ipforwardmib->ipCidrRouteTables()");
  EXPECT_EQ(ask(MODE_GET, mib_.get()).type, ASN_GAUGE);
  EXPECT_THAT(traces.lines, ElementsAre(reading, converted));
  auto const absent = ask(MODE_GET, nullptr);
  EXPECT_EQ(absent.returned, SNMP_ERR_GENERR);
  EXPECT_EQ(absent.type, ASN_NULL);
  EXPECT_THAT(traces.lines,
              ElementsAre(text("entity /<sysname>/snmp/ip/ipforwardmib is not of type "
                               "IpSnmp::IpForwardMib")));
  for (int mode = 0; mode <= 5; ++mode) {
    EXPECT_EQ(ask(mode, mib_.get()).error, SNMP_ERR_NOTWRITABLE);
    EXPECT_THAT(traces.lines, ElementsAre(text("SET is not configured for ipCidrRouteNumber")));
  }
  EXPECT_EQ(ask(MODE_GETNEXT, mib_.get()).error, SNMP_ERR_GENERR);
  EXPECT_THAT(traces.lines, ElementsAre(text("unknown mode from request: 161")));
}

/// Routes come and go between the steps of a walk, also the one that the walk stands on.
TEST_F(IpForwardTest, AWalkOfAChangingTableSkipsNothingThatStays) {
  std::mt19937 random(5);
  auto const prefix = [](unsigned n) { return Prefix(IpAddr(0x0a000000U + (n << 8)), 24); };
  std::vector<IpSnmp::IpForwardMib::Hop> const hops{{IpAddr("192.0.2.1"), 3},
                                                    {IpAddr("192.0.2.2"), 4}};
  auto const write = [&](unsigned n, std::size_t count) {
    mib_->ipCidrRoutesAre(prefix(n), std::span(hops).first(count),
                          Routing::RouteMetric(static_cast<std::uint32_t>(random() % 3)),
                          Routing::RoutePreference(1), routeTypeStatic);
  };
  for (unsigned n = 0; n < 600; n += 2) write(n, 2);
  std::set<oid> seen;
  auto name = joined(ipCidrRouteEntry, {16});
  for (;;) {
    auto const found = next(name);
    if (found.name == ipv6IpForwarding) break;
    ASSERT_LT(name, found.name);
    name = found.name;
    seen.insert(name[12] * 256 + name[13]);
    for (int edit = 0; edit < 8; ++edit) {
      auto const n = static_cast<unsigned>(random() % 600);
      write(n, n % 4 == 0 ? 1 + random() % 2 : random() % 3);  // some stay
    }
  }
  for (unsigned n = 0; n < 600; n += 4) EXPECT_TRUE(seen.contains(n)) << n;
}

}  // namespace
