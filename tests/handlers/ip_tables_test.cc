// The tables of IP-MIB's addresses, registered as in the daemon and asked in whole PDUs, held
// against one ordered tree of what they are expected to hold.

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <set>
#include <span>
#include <string>

#include <gtest/gtest.h>

#include "handlers/ip_base.h"
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

/// The objects in the order of the agent: std::vector compares as object identifiers do.
using Tree = std::map<Oid, Binding>;

constexpr oid ipAddrTable = 20;
constexpr oid ipAddressPrefixTable = 32;
constexpr oid ipAddressTable = 34;

Oid ip(std::initializer_list<oid> rest) {
  Oid name{1, 3, 6, 1, 2, 1, 4};
  name.insert(name.end(), rest);
  return name;
}

Oid joined(Oid name, std::span<oid const> rest) {
  name.insert(name.end(), rest.begin(), rest.end());
  return name;
}

/// An address on an interface, as the tables are to show it.
struct Address {
  std::vector<std::uint8_t> octets;
  std::vector<std::uint8_t> prefix;  // the same with its host bits clear
  unsigned length;
  unsigned ifIndex;
  IpSnmp::AddressSource source = IpSnmp::addressSourceStatus;

  Ip::IpVersion version() const { return octets.size() == 4 ? Ip::ipVersion4 : Ip::ipVersion6; }
};

std::string hex(std::span<std::uint8_t const> octets) {
  std::string text;
  for (auto const octet : octets) {
    text += "0123456789abcdef"[octet >> 4];
    text += "0123456789abcdef"[octet & 15];
  }
  return text;
}

Oid withLength(std::span<std::uint8_t const> octets) {
  Oid rest{octets.size()};
  rest.insert(rest.end(), octets.begin(), octets.end());
  return rest;
}

std::string mask(unsigned length) {
  std::string const masks[] = {"00000000", "80000000", "ff000000", "ffffff00", "ffffffff"};
  unsigned const lengths[] = {0, 1, 8, 24, 32};
  return masks[static_cast<std::size_t>(std::find(lengths, lengths + 5, length) - lengths)];
}

std::vector<std::uint8_t> v6(std::initializer_list<std::pair<std::size_t, int>> octets) {
  std::vector<std::uint8_t> address(16);
  for (auto const& [place, octet] : octets) address[place] = static_cast<std::uint8_t>(octet);
  return address;
}

std::vector<Address> const sample{
    {{10, 0, 0, 1}, {10, 0, 0, 0}, 24, 2},
    {{10, 0, 0, 200}, {10, 0, 0, 0}, 24, 2},
    {{10, 0, 1, 0}, {10, 0, 0, 0}, 8, 2},
    {{10, 1, 2, 3}, {10, 1, 2, 0}, 24, 5, IpSnmp::addressSourceConfig},
    {{128, 0, 0, 1}, {0, 0, 0, 0}, 0, 3},
    {{192, 0, 2, 255}, {192, 0, 2, 255}, 32, 70000},
    {{0, 0, 0, 1}, {0, 0, 0, 0}, 1, 3},
    {v6({{0, 0x20}, {1, 1}, {15, 1}}), v6({{0, 0x20}, {1, 1}}), 64, 2},
    {v6({{0, 0xfd}, {15, 0xff}}), v6({{0, 0xfd}, {15, 0xff}}), 128, 5},
};

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

  void add(Address const& address) {
    IpSnmp::InetAddress const key(address.version(), Snmp::String(address.octets));
    auto const prefix = Mav::makeObject<IpSnmp::IpAddressPrefixEntry>(IpSnmp::IpAddressPrefixKey(
        address.ifIndex, address.version(), Snmp::String(address.prefix), address.length));
    auto const entry = mib_->ipAddressTableIs(key);
    entry->intfIs({{address.source, Dovel::IntfId("eth0")}, prefix});
    mib_->ipAddressPrefixTableIs(prefix);
    if (address.version() == Ip::ipVersion4) mib_->ipAddrTableIs(entry);
    expect(address);
  }
  void addSample() {
    for (auto const& address : sample) add(address);
  }

  void expect(Address const& a) {
    oid const version = a.octets.size() == 4 ? 1 : 2;
    auto const number = [](auto value) { return std::to_string(value); };
    auto prefix = joined({a.ifIndex, version}, withLength(a.prefix));
    prefix.push_back(a.length);
    for (oid const column : std::initializer_list<oid>{5, 6, 7}) {
      cell(ipAddressPrefixTable, column, prefix, ASN_INTEGER, column == 7 ? "2" : "1");
    }
    for (oid const column : std::initializer_list<oid>{8, 9}) {
      cell(ipAddressPrefixTable, column, prefix, ASN_UNSIGNED, "4294967295");
    }
    auto const instance = joined({version}, withLength(a.octets));
    bool const configured = a.source == IpSnmp::addressSourceConfig;
    auto const pointer = Testing::dotted(joined(ip({ipAddressPrefixTable, 1, 5}), prefix));
    cell(ipAddressTable, 3, instance, ASN_INTEGER, number(a.ifIndex));
    cell(ipAddressTable, 4, instance, ASN_INTEGER, "1");
    cell(ipAddressTable, 5, instance, ASN_OBJECT_ID, pointer);
    cell(ipAddressTable, 6, instance, ASN_INTEGER, "1");
    cell(ipAddressTable, 7, instance, ASN_INTEGER, configured ? "4" : "1");
    for (oid const column : std::initializer_list<oid>{8, 9})
      cell(ipAddressTable, column, instance, ASN_TIMETICKS, "0");
    for (oid const column : std::initializer_list<oid>{10, 11})
      cell(ipAddressTable, column, instance, ASN_INTEGER, "1");
    if (version != 1) return;
    Oid const addr(a.octets.begin(), a.octets.end());
    cell(ipAddrTable, 1, addr, ASN_IPADDRESS, hex(a.octets));
    cell(ipAddrTable, 2, addr, ASN_INTEGER, number(a.ifIndex));
    cell(ipAddrTable, 3, addr, ASN_IPADDRESS, mask(a.length));
    cell(ipAddrTable, 4, addr, ASN_INTEGER, "0");
    cell(ipAddrTable, 5, addr, ASN_INTEGER, "65535");
  }
  void cell(oid table, oid column, Oid const& instance, unsigned char type, std::string value) {
    auto const name = joined(ip({table, 1, column}), instance);
    tree_[name] = {name, type, std::move(value)};
  }

  /// What follows `name`, as far as the tables go; nothing at the end of the tree.
  Binding successor(Oid const& name) const {
    auto const next = tree_.upper_bound(name);
    return next == tree_.end() ? Binding{name, SNMP_ENDOFMIBVIEW, ""} : next->second;
  }
  /// GETNEXT, past what is not of the tables.
  Binding next(Oid const& name) {
    auto const response = session_.getNext({name});
    EXPECT_EQ(response.error, 0) << Testing::dotted(name);
    auto const& found = response.bindings.at(0);
    bool const foreign = found.name == ip({24, 3, 0}) || found.name == ip({25, 0});
    return foreign && found.type != SNMP_ENDOFMIBVIEW ? next(Oid(found.name)) : found;
  }
  Binding get(Oid const& name) {
    auto const response = session_.get({name});
    EXPECT_EQ(response.error, 0) << Testing::dotted(name);
    return response.bindings.at(0);
  }
  /// GET and GETNEXT of a name that may be no object at all.
  void probe(Oid const& name) {
    if (name.size() > MAX_OID_LEN) return;
    EXPECT_EQ(next(name), successor(name)) << "after " << Testing::dotted(name);
    auto const found = get(name);
    if (auto const cell = tree_.find(name); cell != tree_.end()) {
      EXPECT_EQ(found, cell->second);
    } else {
      EXPECT_TRUE(found.type == SNMP_NOSUCHINSTANCE || found.type == SNMP_NOSUCHOBJECT)
          << Testing::dotted(name);
    }
  }

  Mav::Ptr<IpSnmp::IpMib> const mib_ = IpSnmp::ipMibFactory("ipmib");
  Snmp::Framework framework_;
  Tree tree_;
  AgentSession session_;
};

TEST_F(IpTablesTest, EveryCellIsAnsweredAndFollowedByTheNext) {
  addSample();
  EXPECT_EQ(next(ip({ipAddrTable})), tree_.begin()->second);
  for (auto const& [name, cell] : tree_) {
    EXPECT_EQ(get(name), cell);
    EXPECT_EQ(next(name), successor(name));
  }
}

TEST_F(IpTablesTest, EmptyTablesHoldNothing) {
  for (auto const table : {ipAddrTable, ipAddressPrefixTable, ipAddressTable}) {
    EXPECT_EQ(next(ip({table})).type, SNMP_ENDOFMIBVIEW);
    EXPECT_EQ(get(ip({table, 1, 5, 10, 0, 0, 1})).type, SNMP_NOSUCHINSTANCE);
  }
}

/// Names around those of the rows: cut at every length, longer ones, and each sub-identifier
/// changed to its neighbours and to what fits no index.
TEST_F(IpTablesTest, NamesThatAreNoRowsHaveTheRightSuccessor) {
  addSample();
  std::set<Oid> probes;
  for (auto const& [name, cell] : tree_) {
    if (oid const column = name[9]; column != 1 && column != 5 && column != 11) continue;
    for (std::size_t length = 8; length < name.size(); ++length) {
      Oid const cut(name.begin(), name.begin() + static_cast<std::ptrdiff_t>(length));
      probes.insert(cut);
      for (oid const value : {oid{0}, name[length] + 1, name[length] - 1, oid{1} << 31,
                              oid{0xffffffff}, oid{256}, oid{17}}) {
        if (value > 0xffffffff) continue;
        auto changed = name;
        changed[length] = value;
        probes.insert(changed);
        probes.insert(joined(cut, std::array{value}));
      }
    }
    for (std::size_t const more : {std::size_t{1}, MAX_OID_LEN - name.size()}) {
      for (oid const value : {oid{0}, oid{0xffffffff}}) {
        probes.insert(joined(name, std::vector<oid>(more, value)));
      }
    }
  }
  ASSERT_GT(probes.size(), 1000U);
  for (auto const& name : probes) probe(name);
}

TEST_F(IpTablesTest, GetBulkIsAWalk) {
  addSample();
  for (long const repetitions : {1, 10, 100}) {
    auto cell = tree_.lower_bound(ip({ipAddressPrefixTable}));
    auto name = ip({ipAddressPrefixTable});
    while (cell != tree_.end()) {
      for (auto const& found : session_.getBulk(name, repetitions).bindings) {
        if (cell == tree_.end()) break;
        EXPECT_EQ(found, cell->second);
        name = found.name;
        ++cell;
      }
      if (testing::Test::HasFailure()) return;
    }
  }
}

TEST_F(IpTablesTest, EachOfAListIsAnsweredAsIfAlone) {
  addSample();
  std::vector<Oid> names;
  for (auto const& [name, cell] : tree_) {
    names.push_back(name);
    if (names.size() % 5 != 0) continue;
    names.push_back(joined(name, std::array{oid{1}}));
    auto absent = name;
    ++absent.back();
    names.push_back(absent);
  }
  std::shuffle(names.begin(), names.end(), std::mt19937(7));
  for (std::size_t from = 0; from < names.size(); from += 30) {
    auto const to = std::min(names.size(), from + 30);
    std::vector<Oid> const some(names.begin() + static_cast<std::ptrdiff_t>(from),
                                names.begin() + static_cast<std::ptrdiff_t>(to));
    auto const answers = session_.get(some).bindings;
    auto const followers = session_.getNext(some).bindings;
    ASSERT_EQ(answers.size(), some.size());
    for (std::size_t i = 0; i < some.size(); ++i) {
      EXPECT_EQ(answers[i], get(some[i]));
      EXPECT_EQ(followers[i], session_.getNext({some[i]}).bindings[0]);
    }
  }
}

TEST_F(IpTablesTest, EverySetIsNotWritable) {
  add(sample[0]);
  Testing::Traces const quiet(0);
  auto const before = tree_;
  for (auto const& [name, cell] : before) {
    for (unsigned char const type : std::array<unsigned char, 2>{ASN_INTEGER, ASN_OCTET_STR}) {
      auto absent = name;
      absent.back() += 1;
      EXPECT_EQ(session_.set(name, type).error, SNMP_ERR_NOTWRITABLE);
      EXPECT_EQ(session_.set(absent, type).error, SNMP_ERR_NOTWRITABLE);
    }
    EXPECT_EQ(get(name), cell);
  }
}

/// Rows come and go between the steps of a walk, also the row that the walk stands on.
TEST_F(IpTablesTest, AWalkOfAChangingTableSkipsNothingThatStays) {
  std::mt19937 random(3);
  auto const addressOf = [](unsigned n) {
    return Address{{10, 0, static_cast<std::uint8_t>(n / 256), static_cast<std::uint8_t>(n)},
                   {10, 0, 0, 0},
                   8,
                   1};
  };
  auto const key = [&](unsigned n) {
    return IpSnmp::InetAddress(Ip::ipVersion4, Snmp::String(addressOf(n).octets));
  };
  for (unsigned n = 0; n < 600; n += 2) add(addressOf(n));
  auto const cell = [&](unsigned n) {
    return joined(ip({ipAddressTable, 1, 11}), joined({1}, withLength(addressOf(n).octets)));
  };
  std::set<Oid> seen;
  auto name = ip({ipAddressTable, 1, 11});
  for (int steps = 0; steps < 2000; ++steps) {
    auto const found = session_.getNext({name}).bindings.at(0);
    if (found.type == SNMP_ENDOFMIBVIEW) break;
    ASSERT_LT(name, found.name);
    name = found.name;
    seen.insert(name);
    for (int edit = 0; edit < 4; ++edit) {
      auto const n = static_cast<unsigned>(random() % 600);
      if (n % 4 == 0) continue;  // these stay
      if (random() % 2 == 0) {
        add(addressOf(n));
      } else {
        mib_->ipAddressTableDel(key(n));
        mib_->ipAddrTableDel(Dovel::IpAddr(0x0a000000 + n));
      }
    }
  }
  EXPECT_LT(seen.size(), 600U);
  for (unsigned n = 0; n < 600; n += 4) EXPECT_TRUE(seen.contains(cell(n))) << n;
}

/// The steps of the iterator do not grow with the table.
TEST_F(IpTablesTest, NoRequestScans) {
  for (unsigned n = 0; n < 1000; ++n) {
    add({{10, 1, static_cast<std::uint8_t>(n / 256), static_cast<std::uint8_t>(n)},
         {10, 0, 0, 0},
         8,
         1});
  }
  auto const steps = [](auto const& request) {
    Testing::Traces const traces(2);
    request();
    return traces.count("_get_next_data_point - advancing");
  };
  EXPECT_EQ(steps([&] { get(ip({ipAddrTable, 1, 2, 10, 1, 2, 3})); }), 0U);
  EXPECT_EQ(steps([&] { get(ip({ipAddrTable, 1, 2, 10, 2, 2, 3})); }), 0U);
  EXPECT_EQ(steps([&] { get(ip({ipAddrTable, 1, 2, 10, 1})); }), 0U);
  EXPECT_EQ(steps([&] { next(ip({ipAddrTable, 1, 2, 10, 1, 2, 3})); }), 0U);
  EXPECT_EQ(steps([&] { next(ip({ipAddrTable, 1, 2, 10, 1, 2, 3, 9})); }), 0U);
  EXPECT_EQ(steps([&] { next(ip({ipAddrTable, 1, 2, 10, 1, 2, 4294967295})); }), 0U);
  EXPECT_EQ(steps([&] { next(ip({ipAddressTable, 1, 3, 1, 4, 10, 1, 2, 4294967295})); }), 0U);
  EXPECT_EQ(steps([&] { next(ip({ipAddrTable, 1, 2, 200})); }), 1U);  // to the end of the column
  EXPECT_EQ(steps([&] {
              session_.set(ip({ipAddressTable, 1, 3, 1, 4, 9, 9, 9, 9}), ASN_INTEGER);
            }),
            0U);
}

}  // namespace
