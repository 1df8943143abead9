#include "model/ip_address_entry.h"

#include <gtest/gtest.h>

#include "model/ip_addr_entry.h"
#include "tests/support/strep_checks.h"

namespace IpSnmp {
namespace {

using Dovel::IntfId;
using Dovel::IpAddr;

Mav::Ptr<IpAddressPrefixEntry const> prefix(std::uint32_t ifIndex, std::uint32_t length) {
  return Mav::makeObject<IpAddressPrefixEntry const>(
      IpAddressPrefixKey(ifIndex, Ip::ipVersion4, Snmp::String("\n\0\0\0"), length));
}

class IpAddressEntryTest : public testing::Test {
 protected:
  void has(AddressSource source, char const* intf,
           Mav::Ptr<IpAddressPrefixEntry const> const& prefixEntry) {
    entry->intfIs(IntfData({source, IntfId(intf)}, prefixEntry));
  }

  Mav::Ptr<IpAddressEntry> entry =
      Mav::makeObject<IpAddressEntry>(InetAddress::fromIpAddr(IpAddr("10.1.2.3")));
};

TEST_F(IpAddressEntryTest, withoutAnInterfaceWhatTheMasterTellsIsRefused) {
  EXPECT_EQ(rangeError([&] { return entry->ifIndex(); }), "null ValidPtr");
  EXPECT_EQ(rangeError([&] { return entry->prefixEntry(); }), "null ValidPtr");
  EXPECT_EQ(rangeError([&] { return entry->addressStatus(); }), "null ValidPtr");
  has(addressSourceStatus, "eth0", nullptr);
  EXPECT_EQ(entry->ifIndex(), 0u);
}

TEST_F(IpAddressEntryTest, theKeyIsReadInTransmissionOrder) {
  EXPECT_EQ(entry->ipAdEntAddr(), IpAddr("10.1.2.3"));
  IpAddressEntry const cut(InetAddress(Ip::ipVersion4, Snmp::String("abc")));
  EXPECT_EQ(rangeError([&] { return cut.ipAdEntAddr(); }),
            "an address of 3 octets has no IPv4 address");
}

TEST_F(IpAddressEntryTest, theOldTablesRowFollowsItsMaster) {
  IpAddrEntry const row(entry);
  EXPECT_EQ(row.key(), IpAddr("10.1.2.3"));
  for (auto const& [length, mask] : {std::pair(0u, "0.0.0.0"),
                                     {1u, "128.0.0.0"},
                                     {31u, "255.255.255.254"},
                                     {32u, "255.255.255.255"}}) {
    has(addressSourceStatus, "eth0", prefix(length + 1, length));
    EXPECT_EQ(row.ipAdEntNetMask(), IpAddr(mask)) << length;
    EXPECT_EQ(row.ipAdEntIfIndex(), length + 1);
  }
  has(addressSourceStatus, "eth0", nullptr);
  EXPECT_EQ(row.ipAdEntIfIndex(), 0u);
  EXPECT_EQ(rangeError([&] { return row.ipAdEntNetMask(); }), "null ValidPtr");
}

}  // namespace
}  // namespace IpSnmp
