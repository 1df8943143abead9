// The values of the cached tables: numbers of enumerations, orders, printed forms.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "model/arp_table_index.h"
#include "model/inet_address.h"
#include "model/intf_data_key.h"
#include "model/ip_address_prefix_key.h"
#include "model/ip_cidr_route_table_index.h"
#include "tests/support/strep_checks.h"

namespace IpSnmp {
namespace {

using Dovel::IpAddr;

// How each value prints is what other versions and people's scripts read.

/// The order of `rows`, which is that of their instances, and the printed form of the last.
template <class Key>
void expectKeys(std::vector<Key> const& rows, std::string const& printed) {
  expectRising(rows);
  for (Key const& row : rows) expectStrepRoundTrip(row);
  EXPECT_EQ(shown(rows.back()), printed);
}

TEST(IndexValues, anInetAddressGoesByVersionThenLengthThenOctets) {
  auto const v4 = [](char const* addr) { return InetAddress::fromIpAddr(IpAddr(addr)); };
  auto const v6 = [](char const* addr) { return InetAddress::fromIp6Addr(Dovel::Ip6Addr(addr)); };
  expectKeys<InetAddress>(
      {{},
       v4("0.0.0.255"),
       v4("10.0.0.0"),
       v4("127.0.0.9"),
       v4("128.0.0.0"),
       v6("::1"),
       v6("6162:6364:6566:6768:696a:6b6c:6d6e:6f27")},
      "Value('IpSnmp::InetAddress', ** {'version': 'ipVersion6', 'bytes': 'abcdefghijklmno\\''})");
  // A version that nobody knows.
  InetAddress const odd(static_cast<Ip::IpVersion>(-1), Snmp::String("abcd"));
  EXPECT_LT(odd, InetAddress());
  EXPECT_EQ(strepError<InetAddress>(valueToStrep(odd)), "IpVersion");
}

TEST(IndexValues, keysGoByTheirFieldsInInstanceOrder) {
  auto const ten = Snmp::String(IpAddr("10.1.2.3").octets());
  auto const eleven = Snmp::String(IpAddr("11.0.0.0").octets());
  expectKeys<IpAddressPrefixKey>(
      {{},
       {1, Ip::ipVersion4, ten, 128},
       {1, Ip::ipVersion4, ten, 0x80000000},
       {1, Ip::ipVersion4, eleven, 0},
       {1, Ip::ipVersion6, ten, 0},
       {0x7fffffff, Ip::ipVersion4, ten, 0},
       {0x80000000, Ip::ipVersion4, ten, 24}},
      "Value('IpSnmp::IpAddressPrefixKey', ** {'ifIndex': 2147483648, 'version': 'ipVersion4', "
      "'bytes': '\\x0a\\x01\\x02\\x03', 'length': 24})");
  expectKeys<ArpTableIndex>(
      {{}, {1, IpAddr("128.0.0.1")}, {2, IpAddr()}, {0x80000000, IpAddr("10.1.2.3")}},
      "Value('IpSnmp::ArpTableIndex', ** {'ifIndex': 2147483648, 'ipAddr': '10.1.2.3'})");
  IpAddr const low("10.0.0.0"), high("255.0.0.0");
  expectKeys<IpCidrRouteTableIndex>(
      {{},
       {low, low, 0x7fffffff, high},
       {low, low, 0x80000000, low},
       {low, low, 0x80000000, high},
       {low, high, 0, low},
       {high, low, 4, IpAddr()}},
      "Value('IpSnmp::IpCidrRouteTableIndex', ** {'dest': '255.0.0.0', 'mask': '10.0.0.0', "
      "'tos': 4, 'nextHop': '0.0.0.0'})");
}

TEST(IntfDataKey, statusSortsBeforeConfigOnAnyInterface) {
  using Dovel::IntfId;
  expectKeys<IntfDataKey>(
      {{},
       {addressSourceStatus, IntfId("eth0")},
       {addressSourceStatus, IntfId("eth1")},
       {addressSourceConfig, IntfId("eth0")},
       {addressSourceConfig, IntfId("eth0#2")}},
      "Value('IpSnmp::IntfDataKey', ** {'source': 'addressSourceConfig', 'intfId': 'eth0#2'})");
}

}  // namespace
}  // namespace IpSnmp
