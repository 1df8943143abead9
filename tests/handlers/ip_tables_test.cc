// The tables of IP-MIB's addresses, registered as in the daemon and asked in whole PDUs.

#include <map>
#include <random>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "model/ip_forward_mib.h"
#include "model/ip_mib.h"
#include "platform/mav/directory.h"
#include "platform/snmp/framework.h"
#include "platform/state/routing6_config.h"
#include "tests/handlers/agent_session.h"
#include "tests/handlers/traces.h"

namespace {

using Testing::AgentSession;
using Testing::Binding;
using Testing::Oid;

constexpr oid ipAddrTable = 20;
constexpr oid ipAddressPrefixTable = 32;
constexpr oid ipAddressTable = 34;

Oid ip(std::initializer_list<oid> rest) {
  Oid name{1, 3, 6, 1, 2, 1, 4};
  name.insert(name.end(), rest);
  return name;
}

class IpTablesTest : public testing::Test {
 protected:
  IpTablesTest() {
    Testing::startAgentLibrary();
    Mav::Directory::root().mount(IpSnmp::IpMib::path, mib_);
    Mav::Directory::root().mount(IpSnmp::IpForwardMib::path,
                                 IpSnmp::ipForwardMibFactory("ipforwardmib"));
    Mav::Directory::root().mount(Routing6::Config::path, Mav::makeObject<Routing6::Config>());
    framework_.registerAll();
  }
  ~IpTablesTest() override {
    framework_.unregisterAll();
    Mav::Directory::root().unmountAll();
  }

  void add(IpSnmp::InetAddress const& key, Snmp::String const& subnet, unsigned length,
           unsigned ifIndex, IpSnmp::AddressSource source = IpSnmp::addressSourceStatus) {
    auto const prefix = Mav::makeObject<IpSnmp::IpAddressPrefixEntry>(
        IpSnmp::IpAddressPrefixKey(ifIndex, key.version(), subnet, length));
    auto const entry = mib_->ipAddressTableIs(key);
    entry->intfIs({{source, Dovel::IntfId("eth0")}, prefix});
    mib_->ipAddressPrefixTableIs(prefix);
    if (key.version() == Ip::ipVersion4) mib_->ipAddrTableIs(entry);
  }
  /// 10.1.0.0 and the `n` addresses behind it.
  static IpSnmp::InetAddress numbered(unsigned n) {
    return IpSnmp::InetAddress::fromIpAddr(Dovel::IpAddr(0x0a010000U + n));
  }
  void addNumbered(unsigned n) { add(numbered(n), numbered(0).bytes(), 16, 1); }

  Binding next(Oid const& name) { return session_.getNext({name}).bindings.at(0); }
  Binding get(Oid const& name) { return session_.get({name}).bindings.at(0); }

  Mav::Ptr<IpSnmp::IpMib> const mib_ = IpSnmp::ipMibFactory("ipmib");
  Snmp::Framework framework_;
  AgentSession session_;
};

/// One column, and what it shows of 10.0.0.1/24 in operation on interface 2 and of 2001::1/64
/// configured on interface 3.
struct Column {
  oid table, number;
  unsigned char type;
  std::string v4, v6;
};

TEST_F(IpTablesTest, EveryCellIsServedInOrder) {
  std::string const v4 = ".1.4.10.0.0.", v6 = ".2.16.32.1.0.0.0.0.0.0.0.0.0.0.0.0.0.";
  std::map<oid, std::pair<std::string, std::string>> const instances{
      {ipAddrTable, {".10.0.0.1", ""}},
      {ipAddressPrefixTable, {".2" + v4 + "0.24", ".3" + v6 + "0.64"}},
      {ipAddressTable, {v4 + "1", v6 + "1"}}};
  std::string const prefixes = ".1.3.6.1.2.1.4.32.1.5";
  Column const columns[] = {{ipAddrTable, 1, ASN_IPADDRESS, "0a000001", ""},
                            {ipAddrTable, 2, ASN_INTEGER, "2", ""},
                            {ipAddrTable, 3, ASN_IPADDRESS, "ffffff00", ""},
                            {ipAddrTable, 4, ASN_INTEGER, "0", ""},
                            {ipAddrTable, 5, ASN_INTEGER, "65535", ""},
                            {ipAddressPrefixTable, 5, ASN_INTEGER, "1", "1"},
                            {ipAddressPrefixTable, 6, ASN_INTEGER, "1", "1"},
                            {ipAddressPrefixTable, 7, ASN_INTEGER, "2", "2"},
                            {ipAddressPrefixTable, 8, ASN_UNSIGNED, "4294967295", "4294967295"},
                            {ipAddressPrefixTable, 9, ASN_UNSIGNED, "4294967295", "4294967295"},
                            {ipAddressTable, 3, ASN_INTEGER, "2", "3"},
                            {ipAddressTable, 4, ASN_INTEGER, "1", "1"},
                            {ipAddressTable, 5, ASN_OBJECT_ID, prefixes + ".2" + v4 + "0.24",
                             prefixes + ".3" + v6 + "0.64"},
                            {ipAddressTable, 6, ASN_INTEGER, "1", "1"},
                            {ipAddressTable, 7, ASN_INTEGER, "1", "4"},
                            {ipAddressTable, 8, ASN_TIMETICKS, "0", "0"},
                            {ipAddressTable, 9, ASN_TIMETICKS, "0", "0"},
                            {ipAddressTable, 10, ASN_INTEGER, "1", "1"},
                            {ipAddressTable, 11, ASN_INTEGER, "1", "1"}};
  add(IpSnmp::InetAddress::fromIpAddr(Dovel::IpAddr("10.0.0.1")),
      Snmp::String(Dovel::IpAddr("10.0.0.0").octets()), 24, 2);
  add(IpSnmp::InetAddress::fromIp6Addr(Dovel::Ip6Addr("2001::1")),
      Snmp::String(Dovel::Ip6Addr("2001::").octets()), 64, 3, IpSnmp::addressSourceConfig);

  Oid name = ip({ipAddrTable});
  auto const expectNext = [&](Column const& column, std::string const& instance,
                              std::string const& value) {
    auto found = next(name);
    // Scalars between the tables.
    while (found.name == ip({24, 3, 0}) || found.name == ip({25, 0})) found = next(found.name);
    name = found.name;
    auto const head = Testing::dotted(ip({column.table, 1, column.number}));
    EXPECT_EQ(Testing::dotted(name), head + instance);
    EXPECT_EQ(found, (Binding{name, column.type, value}));
    EXPECT_EQ(get(name), found);
  };
  for (auto const& column : columns) {
    auto const& [first, second] = instances.at(column.table);
    expectNext(column, first, column.v4);
    if (!second.empty()) expectNext(column, second, column.v6);
  }
  EXPECT_EQ(next(name).type, SNMP_ENDOFMIBVIEW);
}

/// Rows come and go between the steps of a walk, also the row that the walk stands on.
TEST_F(IpTablesTest, AWalkOfAChangingTableSkipsNothingThatStays) {
  std::mt19937 random(3);
  for (unsigned n = 0; n < 600; n += 2) addNumbered(n);
  std::set<Oid> seen;
  auto name = ip({ipAddressTable, 1, 11});
  for (int steps = 0; steps < 2000; ++steps) {
    auto const found = next(name);
    if (found.type == SNMP_ENDOFMIBVIEW) break;
    ASSERT_LT(name, found.name);
    name = found.name;
    seen.insert(name);
    for (int edit = 0; edit < 4; ++edit) {
      auto const n = static_cast<unsigned>(random() % 600);
      if (n % 4 == 0) continue;  // these stay
      if (random() % 2 == 0) {
        addNumbered(n);
      } else {
        mib_->ipAddressTableDel(numbered(n));
        mib_->ipAddrTableDel(Dovel::IpAddr(0x0a010000U + n));
      }
    }
  }
  EXPECT_LT(seen.size(), 600U);
  for (unsigned n = 0; n < 600; n += 4) {
    EXPECT_TRUE(seen.contains(ip({ipAddressTable, 1, 11, 1, 4, 10, 1, n / 256, n % 256}))) << n;
  }
}

/// The steps of the iterator do not grow with the table.
TEST_F(IpTablesTest, NoRequestScans) {
  for (unsigned n = 0; n < 1000; ++n) addNumbered(n);
  auto const steps = [](auto const& request) {
    Testing::Traces const traces(2);
    request();
    return traces.count("_get_next_data_point - advancing");
  };
  for (auto const& absentOrNot :
       {ip({ipAddrTable, 1, 2, 10, 1, 2, 3}), ip({ipAddrTable, 1, 2, 10, 2, 2, 3}),
        ip({ipAddrTable, 1, 2, 10, 1})}) {
    EXPECT_EQ(steps([&] { get(absentOrNot); }), 0U);
  }
  for (auto const& before :
       {ip({ipAddrTable, 1, 2, 10, 1, 2, 3}), ip({ipAddrTable, 1, 2, 10, 1, 2, 3, 9}),
        ip({ipAddrTable, 1, 2, 10, 1, 2, 4294967295}), ip({ipAddrTable, 1, 2, 200}),
        ip({ipAddressTable, 1, 3, 1, 4, 10, 1, 2, 4294967295})}) {
    EXPECT_EQ(steps([&] { next(before); }), 0U);
  }
  EXPECT_EQ(steps([&] {
              session_.set(ip({ipAddressTable, 1, 3, 1, 4, 9, 9, 9, 9}), ASN_INTEGER);
            }),
            0U);
}

}  // namespace
