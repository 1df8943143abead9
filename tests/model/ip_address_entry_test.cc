#include "model/ip_address_entry.h"

#include <gtest/gtest.h>

#include "model/ip_addr_entry.h"
#include "tests/support/strep_checks.h"

namespace IpSnmp {
namespace {

TEST(IpAddressEntry, whatTheMasterTellsIsRefusedWithoutOneAndWithoutItsPrefix) {
  auto const entry =
      Mav::makeObject<IpAddressEntry>(InetAddress::fromIpAddr(Dovel::IpAddr("10.1.2.3")));
  IpAddrEntry const old(entry);
  EXPECT_EQ(rangeError([&] { return entry->ifIndex(); }), "null ValidPtr");
  EXPECT_EQ(rangeError([&] { return entry->prefixEntry(); }), "null ValidPtr");
  EXPECT_EQ(rangeError([&] { return entry->addressStatus(); }), "null ValidPtr");

  entry->intfIs(IntfData({addressSourceStatus, Dovel::IntfId("eth0")}, nullptr));
  EXPECT_EQ(old.ipAdEntIfIndex(), 0u);
  EXPECT_EQ(rangeError([&] { return old.ipAdEntNetMask(); }), "null ValidPtr");

  IpAddressEntry const cut(InetAddress(Ip::ipVersion4, Snmp::String("abc")));
  EXPECT_EQ(rangeError([&] { return cut.ipAdEntAddr(); }),
            "an address of 3 octets has no IPv4 address");
}

}  // namespace
}  // namespace IpSnmp
