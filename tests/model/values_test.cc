// The values of the cached tables: the numbers of enumerations, orders, printed forms.

#include <cstdint>
#include <random>
#include <vector>

#include <absl/hash/hash_testing.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "model/arp_table_index.h"
#include "model/inet_address.h"
#include "model/intf_data.h"
#include "model/ip_address_prefix_key.h"
#include "model/ip_cidr_route_table_index.h"
#include "model/protocol_map.h"
#include "platform/state/arp_entry_status.h"
#include "tests/support/strep_checks.h"

namespace IpSnmp {
namespace {

using Dovel::Ip6Addr;
using Dovel::IpAddr;
using Oid = std::vector<std::uint32_t>;

static_assert(addressStatusPreferred == 1 && addressStatusInaccessible == 4);
static_assert(addressTypeUnicast == 1 && addressTypeAnycast == 2 && addressTypeBroadcast == 3);
static_assert(Ip::ipVersionUnknown == 0 && Ip::ipVersion4 == 1 && Ip::ipVersion6 == 2);

TEST(Enumerations, routeProtocolsAreIanasInOrderFromOne) {
  std::int32_t number = 0;
  for (char const* name :
       {"Other", "Local", "Netmgmt", "Icmp", "Egp", "Ggp", "Hello", "Rip", "IsIs", "EsIs",
        "CiscoIgrp", "BbnSpfIgp", "Ospf", "Bgp", "Idpr", "CiscoEigrp", "Dvmrp"}) {
    EXPECT_EQ(IpRouteProtocolInstance(std::string("ipRouteProtocol") + name), ++number);
  }
  EXPECT_EQ(std::size(IpRouteProtocolEnumerators), 17U);
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

/// Key order is instance order, and each of 150 random keys comes back from its strep.
template <class Key, class Make>
void expectKeyProperties(Make const& make) {
  std::vector<Key> keys{Key()};
  for (int i = 0; i < 150; ++i) keys.push_back(make());
  for (Key const& a : keys) {
    expectStrepRoundTrip(a);
    for (Key const& b : keys) {
      ASSERT_EQ(a <=> b, instance(a) <=> instance(b)) << a << ' ' << b;
      ASSERT_EQ(a == b, instance(a) == instance(b)) << a << ' ' << b;
    }
  }
  keys.resize(12);
  EXPECT_TRUE(absl::VerifyTypeImplementsAbslHashCorrectly(keys));
}

TEST(IndexValues, keyOrderIsInstanceOrder) {
  RandomKeys r;
  expectKeyProperties<InetAddress>([&] { return r.inetAddress(); });
  expectKeyProperties<IpAddressPrefixKey>([&] {
    auto const addr = r.inetAddress();
    return IpAddressPrefixKey(r.number(), addr.version(), addr.bytes(), r.number());
  });
  expectKeyProperties<ArpTableIndex>([&] { return ArpTableIndex(r.number(), r.addr()); });
  expectKeyProperties<IpCidrRouteTableIndex>(
      [&] { return IpCidrRouteTableIndex(r.addr(), r.addr(), r.number(), r.addr()); });
}

TEST(IntfDataKey, statusSortsBeforeConfigOnAnyInterface) {
  using Dovel::IntfId;
  expectRising<IntfDataKey>({{},
                             {addressSourceStatus, IntfId("eth0")},
                             {addressSourceStatus, IntfId("eth1")},
                             {addressSourceConfig, IntfId("eth0")},
                             {addressSourceConfig, IntfId("eth0#2")}});
}

TEST(InetAddress, aVersionThatNobodyKnowsComparesSignedAndDoesNotParse) {
  InetAddress const odd(static_cast<Ip::IpVersion>(-1), Snmp::String("abcd"));
  EXPECT_LT(odd, InetAddress());
  EXPECT_EQ(strepError<InetAddress>(valueToStrep(odd)), "IpVersion");
}

/// The names that other versions and people's scripts read.
TEST(Values, printedForms) {
  std::string const addr = "Value('IpSnmp::InetAddress', ** {'version': ";
  EXPECT_EQ(shown(InetAddress::fromIpAddr(IpAddr("10.1.2.3"))),
            addr + "'ipVersion4', 'bytes': '\\x0a\\x01\\x02\\x03'})");
  EXPECT_EQ(shown(InetAddress::fromIp6Addr(Ip6Addr("6162::6")).version()), "ipVersion6");
  EXPECT_EQ(shown(IpAddressPrefixKey(7, Ip::ipVersion4, Snmp::String("abc'"), 24)),
            "Value('IpSnmp::IpAddressPrefixKey', ** "
            "{'ifIndex': 7, 'version': 'ipVersion4', 'bytes': 'abc\\'', 'length': 24})");
  EXPECT_EQ(shown(ArpTableIndex(3, IpAddr("10.1.2.3"))),
            "Value('IpSnmp::ArpTableIndex', ** {'ifIndex': 3, 'ipAddr': '10.1.2.3'})");
  EXPECT_EQ(shown(IpCidrRouteTableIndex(IpAddr("10.0.0.0"), IpAddr("255.0.0.0"), 4, IpAddr())),
            "Value('IpSnmp::IpCidrRouteTableIndex', ** "
            "{'dest': '10.0.0.0', 'mask': '255.0.0.0', 'tos': 4, 'nextHop': '0.0.0.0'})");
  IntfData const bare({addressSourceConfig, Dovel::IntfId("eth0")}, nullptr);
  EXPECT_EQ(shown(bare),
            "Value('IpSnmp::IntfData', ** {'key': Value('IpSnmp::IntfDataKey', ** "
            "{'source': 'addressSourceConfig', 'intfId': 'eth0'}), 'prefixEntry': None})");
  expectStrepRoundTrip(bare);
  Arp::ArpEntryStatus const fixed(IpAddr("10.0.0.1"), Dovel::EthAddr("02:00:5e:10:00:01"), true);
  EXPECT_EQ(shown(fixed),
            "Value('Arp::ArpEntryStatus', ** {'addr': '10.0.0.1', 'ethAddr': "
            "'02:00:5e:10:00:01', 'isStatic': True})");
  expectStrepRoundTrip(fixed);
  EXPECT_EQ(strepError<Arp::ArpEntryStatus>("Value('Arp::ArpEntryStatus', ** {'isStatic': 1})"),
            "expected \"False\" at column 45");
}

TEST(ProtocolMap, printsAsNoneWhateverItHolds) {
  ProtocolMap map;
  map.protocolIs(Routing::Fib::routeTypeBgp, ipRouteProtocolOther);
  map.protocolIs(Routing::Fib::routeTypeBgp, ipRouteProtocolBgp);
  EXPECT_EQ(map.protocol(Routing::Fib::routeTypeBgp), ipRouteProtocolBgp);
  EXPECT_EQ(map.protocol(Routing::Fib::routeTypeRip), std::nullopt);
  EXPECT_NE(map, ProtocolMap());
  EXPECT_EQ(shown(map), "None");
  EXPECT_EQ(Mav::strepToValue<ProtocolMap>(" None"), ProtocolMap());
  EXPECT_EQ(strepError<ProtocolMap>("'None'"), "expected \"None\" at column 0");
}

}  // namespace
}  // namespace IpSnmp
