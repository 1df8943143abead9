// The tables, registered as in the daemon, while their rows come and go.

#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "handlers/ip_forward_mib/ip_cidr_route_table.h"
#include "model/ip_forward_mib.h"
#include "model/ip_mib.h"
#include "model/protocol_map.h"
#include "platform/mav/directory.h"
#include "platform/snmp/framework.h"
#include "tests/handlers/agent_request.h"
#include "tests/handlers/traces.h"

namespace {

using Dovel::IpAddr;
using Testing::AgentRequest;
using testing::ElementsAre;
using Testing::Oid;
using Testing::Reply;

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
    Mav::Directory::root().mount(IpSnmp::IpForwardMib::path, routes_);
    framework_.registerAll();
  }
  ~IpTablesTest() override {
    framework_.unregisterAll();
    Mav::Directory::root().unmountAll();
  }

  static IpAddr address(unsigned n) { return IpAddr(0x0a010000U + n); }  // behind 10.1.0.0
  void addAddress(unsigned n) {
    auto const key = IpSnmp::InetAddress::fromIpAddr(address(n));
    auto const subnet = IpSnmp::InetAddress::fromIpAddr(address(0));
    auto const prefix = Mav::makeObject<IpSnmp::IpAddressPrefixEntry>(
        IpSnmp::IpAddressPrefixKey(1, Ip::ipVersion4, subnet.bytes(), 16));
    auto const entry = mib_->ipAddressTableIs(key);
    entry->intfIs({{IpSnmp::addressSourceStatus, Dovel::IntfId("eth0")}, prefix});
    mib_->ipAddrTableIs(entry);
  }
  void delAddress(unsigned n) {
    mib_->ipAddressTableDel(IpSnmp::InetAddress::fromIpAddr(address(n)));
    mib_->ipAddrTableDel(address(n));
  }
  void writeRoute(unsigned n, std::size_t hops) {
    std::vector<IpSnmp::IpForwardMib::RowHop> const all{{IpAddr("192.0.2.1"), 3},
                                                        {IpAddr("192.0.2.2"), 4}};
    routes_->ipCidrRoutesAre(Dovel::Prefix(IpAddr(0x0a000000U + (n << 8)), 24),
                             std::span(all).first(hops), {}, {},
                             Routing::Fib::routeTypeOspfExternal1);
  }

  static Reply ask(int mode, Oid const& name) { return *AgentRequest(mode, name).registered(); }

  /// The names behind `name` to the end of its table, in order; `edit` acts after each step.
  static std::set<Oid> walk(Oid name, std::function<void()> const& edit) {
    std::set<Oid> seen;
    for (auto reply = ask(MODE_GETNEXT, name); reply.type != ASN_NULL;
         reply = ask(MODE_GETNEXT, name)) {
      EXPECT_LT(name, reply.name);
      if (!(name < reply.name)) break;
      name = reply.name;
      seen.insert(name);
      edit();
    }
    return seen;
  }

  Mav::Ptr<IpSnmp::IpMib> const mib_ = IpSnmp::ipMibFactory("ipmib");
  Mav::Ptr<IpSnmp::IpForwardMib> const routes_ = IpSnmp::ipForwardMibFactory("ipforwardmib");
  Snmp::Framework framework_;
  std::mt19937 random_{3};
};

/// Rows come and go between the steps of a walk, also the row that the walk stands on.
TEST_F(IpTablesTest, AWalkOfAChangingTableSkipsNothingThatStays) {
  for (unsigned n = 0; n < 600; n += 2) {
    addAddress(n);
    writeRoute(n, 2);
  }
  auto const addresses = walk(ip({34, 1, 11}), [this] {
    for (int edit = 0; edit < 4; ++edit) {
      auto const n = static_cast<unsigned>(random_() % 600);
      if (n % 4 != 0) random_() % 2 == 0 ? addAddress(n) : delAddress(n);
    }
  });
  std::set<Oid> routes;
  for (auto const& name : walk(ip({24, 4, 1, 16}), [this] {
         for (int edit = 0; edit < 8; ++edit) {
           auto const n = static_cast<unsigned>(random_() % 600);
           writeRoute(n, n % 4 == 0 ? 1 + random_() % 2 : random_() % 3);
         }
       })) {
    routes.insert(Oid(name.begin(), name.begin() + 15));
  }
  EXPECT_LT(addresses.size(), 600U);
  EXPECT_LT(routes.size(), 600U);
  for (oid n = 0; n < 600; n += 4) {
    EXPECT_TRUE(addresses.contains(ip({34, 1, 11, 1, 4, 10, 1, n / 256, n % 256}))) << n;
    EXPECT_TRUE(routes.contains(ip({24, 4, 1, 16, 10, n / 256, n % 256, 0}))) << n;
  }
}

/// The steps of the iterator do not grow with the table.
TEST_F(IpTablesTest, NoRequestScans) {
  for (unsigned n = 0; n < 1000; ++n) addAddress(n);
  Testing::Traces const traces(2);
  for (auto const& name :
       {ip({20, 1, 2, 10, 1, 2, 3}), ip({20, 1, 2, 10, 2, 2, 3}), ip({20, 1, 2, 10, 1}),
        ip({20, 1, 2, 10, 1, 2, 3, 9}), ip({20, 1, 2, 10, 1, 2, 4294967295}), ip({20, 1, 2, 200}),
        ip({34, 1, 3, 1, 4, 10, 1, 2, 4294967295}), ip({34, 1, 3, 1, 4, 9, 9, 9, 9})}) {
    for (int const mode : {int{MODE_GET}, int{MODE_GETNEXT}, MODE_SET_RESERVE1}) ask(mode, name);
  }
  EXPECT_LT(traces.count("_get_next_data_point - advancing"), 10U);  // at ends of columns
  EXPECT_GT(traces.count("_get_first_data_point - "), 0U);
}

/// As the iterator would tell of it: in the order of its calls.
TEST_F(IpTablesTest, TracesTellOfRowsOfAbsentOnesAndOfTheEnd) {
  addAddress(1);
  auto const told = [](int mode, Oid const& name) {
    Testing::Traces const traces(2);
    ask(mode, name);
    std::string calls;
    for (auto const& line : traces.lines) {
      for (auto const* const text :
           {"' not found in table", "hintMatched=1", "allocated data context", "free_loop_context",
            "null data context in request", "request GET for", "free_data_context",
            "iterator is at end", "at end of loop context"}) {
        if (line.find(text) != std::string::npos) calls += std::string(text) + '|';
      }
    }
    return calls;
  };
  EXPECT_EQ(told(MODE_GET, ip({20, 1, 2, 10, 1, 0, 1})),
            "hintMatched=1|allocated data context|free_loop_context|request GET for|"
            "free_data_context|");
  EXPECT_EQ(told(MODE_GET, ip({20, 1, 2, 10, 1, 0, 2})),
            "' not found in table|free_loop_context|null data context in request|");
  EXPECT_EQ(told(MODE_GETNEXT, ip({20, 1, 5, 10, 1, 0, 1})),
            "iterator is at end|at end of loop context|");
}

/// One pass of a GETBULK; where the range of the registration ends, another one is to be asked.
TEST_F(IpTablesTest, ABulkFillsItsRepetitionsAsGetNextWould) {
  for (unsigned n = 0; n < 5; ++n) addAddress(n);
  for (int repetitions = 1; repetitions <= 30; repetitions += 7) {
    auto const start = ip({20, 1, 2, 10, 1, 0, 2});
    AgentRequest request(MODE_GETBULK, start);
    auto const filled = request.bulk(repetitions, ip({20, 1, 4}));
    auto name = start;
    for (auto const& [type, bulkName] : filled) {
      auto const next = ask(MODE_GETNEXT, name);
      EXPECT_EQ(bulkName, next.name);
      EXPECT_EQ(type, next.type);
      name = bulkName;
    }
    // To the end of column 3, and the first cell behind the range.
    EXPECT_EQ(filled.size(), static_cast<std::size_t>(std::min(repetitions, 2 + 5 + 1)));
  }
}

TEST_F(IpTablesTest, ARouteIsReadAndNeverSet) {
  writeRoute(0, 1);
  auto const cell = [](oid column) {
    return ip({24, 4, 1, column, 10, 0, 0, 0, 255, 255, 255, 0, 0, 192, 0, 2, 1});
  };
  IpSnmp::protocolMap().protocolIs(Routing::Fib::routeTypeOspfExternal1,
                                   IpSnmp::ipRouteProtocolOspf);
  {
    Testing::Traces const traces(6);
    EXPECT_EQ(ask(MODE_GET, cell(7)).value, 13);
    EXPECT_THAT(traces.lines,
                ElementsAre("protoMap converted routeTypeOspfExternal1 to ipRouteProtocolOspf"));
  }
  IpSnmp::protocolMap().protocolDelAll();
  std::map<oid, std::string> const writable{
      {5, "IfIndex"},  {6, "Type"},     {9, "Info"},     {10, "NextHopAS"}, {11, "Metric1"},
      {12, "Metric2"}, {13, "Metric3"}, {14, "Metric4"}, {15, "Metric5"},   {16, "Status"}};
  for (oid column = 1; column <= 16; ++column) {
    Testing::Traces const traces(2);
    EXPECT_EQ(ask(MODE_SET_RESERVE1, cell(column)).error, SNMP_ERR_NOTWRITABLE) << column;
    auto const known = writable.find(column);
    auto const invalid = "ipCidrRouteTable invalid column " + std::to_string(column);
    EXPECT_EQ(traces.lines.back(),
              known == writable.end()
                  ? invalid
                  : "ipCidrRouteTable_handler: SET is not configured for column ipCidrRoute" +
                        known->second);
  }
}

TEST_F(IpTablesTest, ARouteOfEitherFamilyIsReadAndNeverSet) {
  writeRoute(0, 1);
  IpSnmp::Inet6RouteHop const hop{Dovel::Ip6Addr("fe80::1"), 9, IpSnmp::inetCidrRouteTypeRemote,
                                  Routing::Fib::routeTypeDhcp};
  routes_->inetCidrRoutes().routesAre(Dovel::Ip6Prefix("fe80::/64%9"), {&hop, 1},
                                      Routing::RouteMetric(1024));
  EXPECT_EQ(ask(MODE_GET, ip({24, 6, 0})).value, 2);
  auto const of4 = [](oid column) {
    return ip({24, 7, 1, column, 1, 4, 10, 0, 0, 0, 24, 2, 0, 0, 1, 4, 192, 0, 2, 1});
  };
  auto const of6 = [](oid column) {
    return ip({24, 7, 1, column, 4, 20, 254, 128, 0,  0, 0, 0, 0, 0,  0,   0,   0, 0,
               0,  0, 0, 0,      0, 0,  0,   9,   64, 2, 0, 0, 4, 20, 254, 128, 0, 0,
               0,  0, 0, 0,      0, 0,  0,   0,   0,  0, 0, 1, 0, 0,  0,   9});
  };
  std::vector<long> values4, values6;
  for (oid column = 7; column <= 17; ++column) {
    Testing::Traces const traces(2);  // the functions that the iterator would call, too
    values4.push_back(ask(MODE_GET, of4(column)).value.value_or(-99));
    values6.push_back(ask(MODE_GETNEXT, of4(column)).value.value_or(-99));
    EXPECT_EQ(ask(MODE_GETNEXT, of4(column)).name, of6(column));
    EXPECT_EQ(traces.count("hintMatched=1"), 3U);
    EXPECT_EQ(ask(MODE_SET_RESERVE1, of6(column)).error, SNMP_ERR_NOTWRITABLE);
  }
  EXPECT_THAT(values4, ElementsAre(3, 4, 13, 0, 0, 0, -1, -1, -1, -1, 1));
  EXPECT_THAT(values6, ElementsAre(9, 4, 19, 0, 0, 1024, -1, -1, -1, -1, 1));
}

/// The daemon's `ip` module has what is around, and a module of its own had the scalar: what is
/// registered in its place is a copy (netsnmp_handler_registration_dup), which lacks my_reg_void.
TEST_F(IpTablesTest, AScalarAmidOtherRegistrationsKeepsItsEntity) {
  framework_.unregisterAll();
  auto const of = [](Oid const& name) {
    auto const nothing = [](netsnmp_mib_handler*, netsnmp_handler_registration*,
                            netsnmp_agent_request_info*, netsnmp_request_info*) { return 0; };
    auto* const registration = netsnmp_create_handler_registration("other", nothing, name.data(),
                                                                   name.size(), HANDLER_CAN_RONLY);
    EXPECT_EQ(netsnmp_register_handler(registration), MIB_REGISTERED_OK);
    return registration;
  };
  auto* const around = of(ip({}));
  of(ip({24, 6, 0}));
  framework_.registerAll();
  EXPECT_EQ(ask(MODE_GET, ip({24, 6, 0})).value, 0);
  framework_.unregisterAll();
  netsnmp_unregister_handler(around);
}

TEST_F(IpTablesTest, ARoutesAddressesAreIpAddressesInItsIndex) {
  writeRoute(0, 1);
  netsnmp_iterator_info info{};
  info.myvoid = routes_.get();
  netsnmp_variable_list* row = nullptr;
  for (int i = 0; i < 4; ++i) snmp_varlist_add_variable(&row, nullptr, 0, ASN_NULL, nullptr, 0);
  void *loop = nullptr, *data = nullptr;
  ASSERT_EQ(ipCidrRouteTable_get_first_data_point(&loop, &data, row, &info), row);
  std::vector<int> types;
  for (auto const* index = row; index; index = index->next_variable) types.push_back(index->type);
  EXPECT_THAT(types, ElementsAre(ASN_IPADDRESS, ASN_IPADDRESS, ASN_INTEGER, ASN_IPADDRESS));
  ipCidrRouteTable_free_loop_context_at_end(loop, &info);
  snmp_free_varbind(row);
}

TEST_F(IpTablesTest, ANeighbourIsReadAsItIsNowAndNeverSet) {
  auto const eth0 = Mav::makeObject<Arp::ArpIntfStatus>("eth0");
  IpAddr const addr("10.1.2.3");
  eth0->arpEntryIs({addr, Dovel::EthAddr("02:00:00:00:00:ff"), true});
  mib_->arpTableIs({70000, addr}, eth0);
  mib_->arpTableIs({9, IpAddr("200.0.0.1")}, eth0);
  auto const cell = [](oid column) { return ip({22, 1, column, 70000, 10, 1, 2, 3}); };
  EXPECT_EQ(ask(MODE_GET, cell(1)).value, 70000);
  EXPECT_EQ(ask(MODE_GETNEXT, ip({22, 1, 1, 9, 200, 0, 0, 1})).name, cell(1));
  EXPECT_EQ(ask(MODE_GET, cell(2)).octets, std::string("\x02\0\0\0\0\xff", 6));
  EXPECT_EQ(ask(MODE_GET, cell(3)).type, ASN_IPADDRESS);
  EXPECT_EQ(ask(MODE_GET, cell(4)).value, 4);
  eth0->arpEntryDel(addr);
  EXPECT_EQ(ask(MODE_GET, cell(2)).octets, std::string(6, '\0'));
  EXPECT_EQ(ask(MODE_GET, cell(4)).value, 3);

  std::vector<std::string> const told{"SET is not configured for column ipNetToMediaIfIndex",
                                      "SET is not configured for column ipNetToMediaPhysAddress",
                                      "SET is not configured for column ipNetToMediaNetAddress",
                                      "SET is not configured for column ipNetToMediaType"};
  for (oid column = 1; column <= 4; ++column) {
    Testing::Traces const traces(2);
    EXPECT_EQ(ask(MODE_SET_RESERVE1, cell(column)).error, SNMP_ERR_NOTWRITABLE) << column;
    EXPECT_EQ(traces.lines.back(), "ipNetToMediaTable_handler: " + told[column - 1]);
  }
}

}  // namespace
