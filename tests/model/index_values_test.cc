// The keys of the cached tables: orders, printed forms, parser.

#include <cstdint>
#include <random>
#include <vector>

#include <absl/hash/hash_testing.h>
#include <gtest/gtest.h>

#include "model/arp_table_index.h"
#include "model/inet_address.h"
#include "model/ip_address_prefix_key.h"
#include "model/ip_cidr_route_table_index.h"
#include "tests/support/strep_checks.h"

namespace IpSnmp {
namespace {

using Dovel::Ip6Addr;
using Dovel::IpAddr;
using Oid = std::vector<std::uint32_t>;

InetAddress inet(std::string_view text) { return InetAddress::fromIpAddr(IpAddr(text)); }
InetAddress inet6(std::string_view text) { return InetAddress::fromIp6Addr(Ip6Addr(text)); }
IpAddressPrefixKey prefixKey(std::uint32_t ifIndex, InetAddress const& addr, std::uint32_t length) {
  return {ifIndex, addr.version(), addr.bytes(), length};
}
IpCidrRouteTableIndex route(std::string_view dest, std::string_view mask, std::uint32_t tos,
                            std::string_view nextHop) {
  return {IpAddr(dest), IpAddr(mask), tos, IpAddr(nextHop)};
}

// The sub-identifiers that a key contributes to an instance (RFC 2578 section 7.7).
void append(Oid& oid, IpAddr const& addr) {
  for (auto const octet : addr.octets()) oid.push_back(octet);
}
void append(Oid& oid, Ip::IpVersion version, Snmp::String const& bytes) {
  oid.push_back(static_cast<std::uint32_t>(version));
  oid.push_back(static_cast<std::uint32_t>(bytes.size()));
  oid.insert(oid.end(), bytes.begin(), bytes.end());
}
Oid instance(InetAddress const& key) {
  Oid oid;
  append(oid, key.version(), key.bytes());
  return oid;
}
Oid instance(IpAddressPrefixKey const& key) {
  Oid oid{key.ifIndex()};
  append(oid, key.version(), key.bytes());
  oid.push_back(key.length());
  return oid;
}
Oid instance(ArpTableIndex const& key) {
  Oid oid{key.ifIndex()};
  append(oid, key.ipAddr());
  return oid;
}
Oid instance(IpCidrRouteTableIndex const& key) {
  Oid oid;
  append(oid, key.dest());
  append(oid, key.mask());
  oid.push_back(key.tos());
  append(oid, key.nextHop());
  return oid;
}

// Random keys whose attributes are often equal, so that every attribute gets to decide.
class RandomKeys {
 public:
  std::uint32_t number() { return pick({0, 1, 2, 256, 0x7fffffff, 0x80000000, 0xffffffff}); }
  IpAddr addr() { return IpAddr(pick({0, 1, 256, 0x0a000000, 0x7fffffff, 0x80000000})); }
  InetAddress inetAddress() {
    if (random_() % 2 == 0) return InetAddress::fromIpAddr(addr());
    Ip6Addr::Octets octets{};
    octets[random_() % octets.size()] = static_cast<std::uint8_t>(random_());
    return InetAddress::fromIp6Addr(Ip6Addr(octets));
  }

 private:
  std::uint32_t pick(std::vector<std::uint32_t> const& numbers) {
    return numbers[random_() % numbers.size()];
  }

  std::mt19937 random_{11};
};

// Key order is instance order, and each key comes back from its strep.
template <class Key>
void expectKeyProperties(std::vector<Key> const& keys) {
  std::vector<Oid> instances;
  for (Key const& key : keys) instances.push_back(instance(key));
  for (std::size_t i = 0; i < keys.size(); ++i) {
    expectStrepRoundTrip(keys[i]);
    for (std::size_t j = 0; j < keys.size(); ++j) {
      ASSERT_EQ(keys[i] <=> keys[j], instances[i] <=> instances[j]) << keys[i] << ' ' << keys[j];
      ASSERT_EQ(keys[i] == keys[j], instances[i] == instances[j]) << keys[i] << ' ' << keys[j];
    }
  }
  EXPECT_TRUE(
      absl::VerifyTypeImplementsAbslHashCorrectly(std::vector(keys.begin(), keys.begin() + 12)));
}

TEST(IndexValues, keyOrderIsInstanceOrder) {
  RandomKeys random;
  std::vector<InetAddress> addresses;
  std::vector<IpAddressPrefixKey> prefixes;
  std::vector<ArpTableIndex> neighbours;
  std::vector<IpCidrRouteTableIndex> routes;
  for (int i = 0; i < 150; ++i) {
    addresses.push_back(random.inetAddress());
    prefixes.push_back(prefixKey(random.number(), random.inetAddress(), random.number()));
    neighbours.emplace_back(random.number(), random.addr());
    routes.emplace_back(random.addr(), random.addr(), random.number(), random.addr());
  }
  expectKeyProperties(addresses);
  expectKeyProperties(prefixes);
  expectKeyProperties(neighbours);
  expectKeyProperties(routes);
}

TEST(InetAddress, versionDecidesBeforeOctets) {
  expectRising<InetAddress>({InetAddress(), inet("0.0.0.0"), inet("9.255.255.255"),
                             inet("10.0.0.0"), inet("255.255.255.255"), inet6("::"), inet6("::1"),
                             inet6("ff02::1")});
}

TEST(InetAddress, octetsAreInTransmissionOrder) {
  EXPECT_EQ(inet("10.1.2.3").version(), Ip::ipVersion4);
  EXPECT_EQ(inet("10.1.2.3").bytes(), Snmp::String("\x0a\x01\x02\x03"));
  EXPECT_EQ(inet6("2001:db8::9").version(), Ip::ipVersion6);
  using namespace std::string_view_literals;
  EXPECT_EQ(inet6("2001:db8::9").bytes(),
            Snmp::String("\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0\0\0\0\x09"sv));
}

TEST(InetAddress, aVersionThatNobodyKnowsComparesSignedAndDoesNotParse) {
  InetAddress const odd(static_cast<Ip::IpVersion>(-1), Snmp::String("abcd"));
  EXPECT_LT(odd, InetAddress());
  EXPECT_EQ(valueToStrep(odd),
            "Value('IpSnmp::InetAddress', ** {'version': 'IpVersion(-1)', 'bytes': 'abcd'})");
  EXPECT_EQ(strepError<InetAddress>(valueToStrep(odd)), "IpVersion");
}

TEST(IpAddressPrefixKey, lengthDecidesLast) {
  expectRising<IpAddressPrefixKey>(
      {IpAddressPrefixKey(), prefixKey(1, inet("10.0.0.0"), 8), prefixKey(1, inet("10.0.0.0"), 24),
       prefixKey(1, inet("10.0.1.0"), 8), prefixKey(1, inet6("::"), 0),
       prefixKey(2, inet("0.0.0.0"), 0), prefixKey(0x80000000, inet("0.0.0.0"), 0)});
}

TEST(ArpTableIndex, interfaceDecidesFirst) {
  expectRising<ArpTableIndex>({{},
                               {1, IpAddr("10.0.0.2")},
                               {1, IpAddr("10.0.0.10")},
                               {2, IpAddr("1.0.0.0")},
                               {0xffffffff, IpAddr("0.0.0.0")}});
}

TEST(IpCidrRouteTableIndex, everyAttributeDecidesInTurn) {
  expectRising<IpCidrRouteTableIndex>(
      {route("0.0.0.0", "0.0.0.0", 0, "0.0.0.0"), route("10.0.0.0", "255.0.0.0", 0, "192.0.2.1"),
       route("10.0.0.0", "255.0.0.0", 0, "192.0.2.2"),
       route("10.0.0.0", "255.0.0.0", 4, "192.0.2.1"),
       route("10.0.0.0", "255.255.0.0", 0, "192.0.2.1"),
       route("10.1.0.0", "255.0.0.0", 0, "0.0.0.0"), route("200.0.0.0", "0.0.0.0", 0, "0.0.0.0")});
}

TEST(IndexValues, printedForms) {
  EXPECT_EQ(shown(inet("10.1.2.3")),
            "Value('IpSnmp::InetAddress', ** "
            "{'version': 'ipVersion4', 'bytes': '\\x0a\\x01\\x02\\x03'})");
  EXPECT_EQ(shown(IpAddressPrefixKey(7, Ip::ipVersion4, Snmp::String("abc'"), 24)),
            "Value('IpSnmp::IpAddressPrefixKey', ** "
            "{'ifIndex': 7, 'version': 'ipVersion4', 'bytes': 'abc\\'', 'length': 24})");
  EXPECT_EQ(shown(ArpTableIndex(3, IpAddr("10.1.2.3"))),
            "Value('IpSnmp::ArpTableIndex', ** {'ifIndex': 3, 'ipAddr': '10.1.2.3'})");
  EXPECT_EQ(shown(route("10.0.0.0", "255.0.0.0", 4, "192.0.2.1")),
            "Value('IpSnmp::IpCidrRouteTableIndex', ** "
            "{'dest': '10.0.0.0', 'mask': '255.0.0.0', 'tos': 4, 'nextHop': '192.0.2.1'})");
  EXPECT_TRUE(!InetAddress() && !IpAddressPrefixKey() && !ArpTableIndex() &&
              !IpCidrRouteTableIndex());
  EXPECT_FALSE(!inet("0.0.0.0"));
}

TEST(IndexValues, parserFailures) {
  std::string const text = "Value('IpSnmp::InetAddress', ** {'bytes': 'abcd'})";
  EXPECT_EQ(Mav::strepToValue<InetAddress>(text),
            InetAddress(Ip::ipVersionUnknown, Snmp::String("abcd")));
  EXPECT_EQ(strepError<InetAddress>(text + " x"),
            "junk at column 51 deserializing IpSnmp::InetAddress");
  EXPECT_EQ(strepError<InetAddress>("Value('IpSnmp::InetAddress', ** {"),
            "premature end of value type InetAddress");
  EXPECT_EQ(strepError<InetAddress>("Value('IpSnmp::InetAddress', ** {'length': 8})"),
            "InetAddress has no such attribute: length");
  EXPECT_EQ(strepError<ArpTableIndex>("Value('IpSnmp::ArpTableIndex', ** {'ipAddr': '10.1.2'})"),
            "invalid IPv4 address '10.1.2'");
  EXPECT_EQ(strepError<ArpTableIndex>("Value('IpSnmp::ArpTableIndex', ** {'ifIndex': 4294967296})"),
            "expected a number of at most 32 bits at column 46");
}

}  // namespace
}  // namespace IpSnmp
