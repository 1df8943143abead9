// The tables, registered as in the daemon, while their rows come and go.

#include <functional>
#include <random>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "handlers/ip_conversions.h"
#include "handlers/ip_forward_mib/ip_cidr_route_table.h"
#include "model/ip_forward_mib.h"
#include "model/ip_mib.h"
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

/// The daemon's `ip` module has what is around, and a module of its own had the scalar; a subagent
/// has the other for a while: what is registered there then is a copy
/// (netsnmp_handler_registration_dup), which lacks my_reg_void.
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
  netsnmp_unregister_handler(of(ip({24, 3, 0})));
  EXPECT_EQ(ask(MODE_GET, ip({24, 3, 0})).value, 0);
  framework_.unregisterAll();
  netsnmp_unregister_handler(around);
}

/// The RowPointer of an address is as long as its prefix: an IPv6 one, and one of no known family.
TEST(IpAddressPrefixEntry, AsAnOidIsWrittenWholeOrNotAtAll) {
  for (std::size_t const octets : {16U, 200U}) {
    auto const entry = Mav::makeObject<IpSnmp::IpAddressPrefixEntry const>(
        IpSnmp::IpAddressPrefixKey(5, Ip::ipVersion6, Snmp::String(std::string(octets, '\7')), 64));
    auto const size = static_cast<std::int32_t>((14 + octets) * 4);
    std::string buffer(static_cast<std::size_t>(size), 'x');
    auto* const bytes = reinterpret_cast<unsigned char*>(buffer.data());
    EXPECT_EQ(IpSnmp::IpAddressPrefixEntryToAsnOid(entry, bytes, size - 1), 0);
    EXPECT_EQ(buffer, std::string(buffer.size(), 'x'));
    EXPECT_EQ(IpSnmp::IpAddressPrefixEntryToAsnOid(entry, bytes, size), size);
    EXPECT_EQ(bytes[size - 4], 64);
  }
}

/// A row that no interface has breaks an invariant of the cache: an exception, and genErr.
TEST_F(IpTablesTest, AnExceptionIsGeneralErrorAndALogLine) {
  mib_->ipAddressTableIs(IpSnmp::InetAddress::fromIpAddr(address(1)));
  Testing::Traces const traces(0);
  EXPECT_EQ(ask(MODE_GET, ip({34, 1, 3, 1, 4, 10, 1, 0, 1})).error, SNMP_ERR_GENERR);
  EXPECT_EQ(traces.count("null ValidPtr"), 1U);
}

/// Where the daemon's iterator asks, an iteration begins at the row that its hint names, and gives
/// the addresses of its index as such.
TEST_F(IpTablesTest, AHintPutsTheIterationOnItsRow) {
  for (unsigned const n : {0U, 1U, 2U}) writeRoute(n, 1);
  auto const variables = [](std::initializer_list<std::string> octets) {
    netsnmp_variable_list* list = nullptr;
    for (auto const& value : octets) {
      snmp_varlist_add_variable(&list, nullptr, 0, value.empty() ? ASN_INTEGER : ASN_IPADDRESS,
                                value.data(), value.size());
    }
    return list;
  };
  using namespace std::string_literals;
  auto* const row = variables({"0000", "0000", "", "0000"});
  for (auto* index = row; index; index = index->next_variable) index->type = ASN_NULL;
  netsnmp_table_request_info hint{};
  hint.number_indexes = 4;
  hint.indexes = variables({"\x0a\0\x01\0"s, "\xff\xff\xff\0"s, "", "\xc0\0\x02\x01"s});
  long const tos = 0;
  snmp_set_var_typed_value(hint.indexes->next_variable->next_variable, ASN_INTEGER, &tos,
                           sizeof tos);
  netsnmp_iterator_info info{};
  info.myvoid = routes_.get();
  void *loop = &hint, *data = nullptr;
  ASSERT_EQ(ipCidrRouteTable_get_first_data_point(&loop, &data, row, &info), row);
  EXPECT_EQ(row->val.string[2], 1);
  std::vector<int> types;
  for (auto const* index = row; index; index = index->next_variable) types.push_back(index->type);
  EXPECT_THAT(types, ElementsAre(ASN_IPADDRESS, ASN_IPADDRESS, ASN_INTEGER, ASN_IPADDRESS));
  ipCidrRouteTable_free_loop_context_at_end(loop, &info);
  snmp_free_varbind(row);
  snmp_free_varbind(hint.indexes);
}

}  // namespace
