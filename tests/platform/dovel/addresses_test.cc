// IPv4, IPv6 and Ethernet addresses, alone and with a prefix length.

#include <random>
#include <string_view>
#include <vector>

#include <absl/hash/hash_testing.h>
#include <gtest/gtest.h>

#include "platform/dovel/addr_with_mask.h"
#include "platform/dovel/eth_addr.h"
#include "platform/dovel/ip6_prefix.h"
#include "platform/dovel/prefix.h"
#include "tests/support/strep_checks.h"

namespace Dovel {
namespace {

static_assert(std::is_trivially_copyable_v<IpAddr> && sizeof(IpAddr) == 4);
static_assert(std::is_trivially_copyable_v<Ip6Addr> && sizeof(Ip6Addr) == 16);
static_assert(std::is_trivially_copyable_v<Prefix> && sizeof(Prefix) == 8);
static_assert(IpAddr(IpAddr::Octets{10, 1, 2, 3}) == IpAddr(0x0a010203));

template <class T>
std::vector<T> parsed(std::initializer_list<std::string_view> texts) {
  std::vector<T> values;
  for (std::string_view const text : texts) values.push_back(T(text));
  return values;
}

template <class T>
std::string textError(std::string_view text) {
  return rangeError([&] { return T(text); });
}

TEST(IpAddr, rejectsWhatIsNoDottedQuad) {
  for (std::string_view const text :
       {"", "10", "10.1.2", "10.1.2.3.4", "10.1.2.256", "10.1.2.-3", " 10.1.2.3", "10.1.2.3 ",
        "0x0a.1.2.3", "010.1.2.3", "a.b.c.d", "::1"}) {
    EXPECT_EQ(textError<IpAddr>(text), "invalid IPv4 address '" + std::string(text) + "'");
  }
  EXPECT_EQ(textError<IpAddr>({"10.1.2.3\0", 9}), "invalid IPv4 address '10.1.2.3\\x00'");
}

TEST(Ip6Addr, printsCompressedAndParsesEveryForm) {
  struct Row {
    std::string_view text, shown;
  };
  for (Row const& row : {Row{"::", "::"},
                         {"::1", "::1"},
                         {"2001:DB8:0:0:0:0:0:1", "2001:db8::1"},
                         {"fe80::1:0:0:0", "fe80::1:0:0:0"},
                         {"::ffff:10.1.2.3", "::ffff:10.1.2.3"}}) {
    EXPECT_EQ(shown(Ip6Addr(row.text)), row.shown);
    expectStrepRoundTrip(Ip6Addr(row.text));
  }
  for (std::string_view const text :
       {"", ":", ":::", "1::2::3", "12345::", "g::", "fe80::1%eth0", "::/0", "10.1.2.3"}) {
    EXPECT_EQ(textError<Ip6Addr>(text), "invalid IPv6 address '" + std::string(text) + "'");
  }
}

TEST(AddressesWithMask, keepTheHostBitsThatTheirSubnetClears) {
  EXPECT_EQ(shown(IpAddrWithMask("10.1.2.3/8")), "10.1.2.3/8");
  EXPECT_EQ(IpAddrWithMask("10.1.2.3/8").subnet(), IpAddr("10.0.0.0"));
  EXPECT_EQ(IpAddrWithMask("10.1.2.3/0").prefix(), Prefix());
  struct Row {
    std::string_view address, subnet;
  };
  for (Row const& row : {Row{"2001:db8:ffff::1/0", "::"},
                         {"ffff::1/1", "8000::"},
                         {"2001:db8:ffff::1/33", "2001:db8:8000::"},
                         {"2001:db8::ff:1/64", "2001:db8::"},
                         {"2001:db8::7/127", "2001:db8::6"},
                         {"2001:db8::7/128", "2001:db8::7"}}) {
    EXPECT_EQ(Ip6AddrWithMask(row.address).subnet(), Ip6Addr(row.subnet)) << row.address;
    EXPECT_EQ(shown(Ip6AddrWithMask(row.address)), row.address);
  }
  EXPECT_EQ(rangeError([] { return Ip6AddrWithMask(Ip6Addr(), 129); }),
            "prefix length 129 is not in 0..128");
  EXPECT_EQ(textError<Ip6AddrWithMask>("::/129"), "invalid prefix length in '::/129'");
}

TEST(Addresses, orderAsNumbersFromTheFirstOctetThenByLength) {
  expectRising(parsed<IpAddr>({"0.0.0.0", "1.0.0.0", "10.0.0.255", "10.0.1.0", "127.255.255.255",
                               "128.0.0.0", "255.255.255.255"}));
  expectRising(parsed<Ip6Addr>({"::", "::1", "::100", "::1:0:0:0:0", "0:0:0:8000::", "1::",
                                "1:0:0:1::7fff", "1:0:0:1::8000", "7fff::", "8000::", "ff02::1"}));
  expectRising(parsed<IpAddrWithMask>({"9.0.0.1/32", "10.0.0.1/8", "10.0.0.1/9", "10.0.0.2/0"}));
  expectRising(parsed<Prefix>({"0.0.0.0/0", "0.0.0.0/1", "10.0.0.0/8", "10.0.0.0/9", "10.0.0.0/32",
                               "10.0.0.1/32", "10.128.0.0/9", "224.0.0.0/4"}));
  expectRising(parsed<EthAddr>({"00:00:00:00:00:00", "00:00:00:00:00:ff", "00:00:00:00:01:00",
                                "7f:00:00:00:00:00", "80:00:00:00:00:00"}));
}

TEST(Prefix, rejectsHostBitsAndBadLengths) {
  struct Row {
    std::string_view text, error;
  };
  for (Row const& row : {
           Row{"10.0.0.1/8", "prefix 10.0.0.1/8 has host bits set"},
           {"0.0.0.1/0", "prefix 0.0.0.1/0 has host bits set"},
           {"10.0.0.0/33", "invalid prefix length in '10.0.0.0/33'"},
           {"10.0.0.0/4294967304", "invalid prefix length in '10.0.0.0/4294967304'"},
           {"10.0.0.0/-8", "invalid prefix length in '10.0.0.0/-8'"},
           {"10.0.0.0/", "invalid prefix length in '10.0.0.0/'"},
           {"10.0.0.0", "invalid prefix length in '10.0.0.0'"},
           {"10.0.0/8", "invalid IPv4 address '10.0.0'"},
       }) {
    EXPECT_EQ(textError<Prefix>(row.text), row.error);
  }
  EXPECT_EQ(rangeError([] { return Prefix(IpAddr(0x0a000001U), 31); }),
            "prefix 10.0.0.1/31 has host bits set");
  EXPECT_EQ(rangeError([] { return Prefix(IpAddr(), 33); }), "prefix length 33 is not in 0..32");
}

TEST(EthAddr, printsAndParsesSixGroups) {
  EthAddr const addr("02:00:5E:10:00:fF");
  EXPECT_EQ(addr.octets(), (EthAddr::Octets{0x02, 0x00, 0x5e, 0x10, 0x00, 0xff}));
  EXPECT_EQ(shown(addr), "02:00:5e:10:00:ff");
  EXPECT_EQ(EthAddr::fromBytes(addr.octets()), addr);
  EXPECT_EQ(rangeError([] { return EthAddr::fromBytes({}); }),
            "a link address of 0 octets is no Ethernet address");
  for (std::string_view const text :
       {"", "02:00:5e:10:00", "02:00:5e:10:00:01:02", "02-00-5e-10-00-01", "2:00:5e:10:00:001",
        "02:00:5e:10:00:0g", "+2:00:5e:10:00:01", "02:00:5e:10:00:1 "}) {
    EXPECT_EQ(textError<EthAddr>(text), "invalid Ethernet address '" + std::string(text) + "'");
  }
}

TEST(Addresses, roundTripRandomValuesAndHash) {
  std::mt19937 random(7);
  for (int i = 0; i < 2000; ++i) {
    IpAddr const addr(static_cast<std::uint32_t>(random()));
    Ip6Addr::Octets octets{};
    for (auto& octet : octets) octet = static_cast<std::uint8_t>(random() % 2 ? random() : 0);
    unsigned const length = static_cast<unsigned>(random() % 129);

    expectStrepRoundTrip(addr);
    expectStrepRoundTrip(IpAddrWithMask(addr, length % 33));
    expectStrepRoundTrip(IpAddrWithMask(addr, length % 33).prefix());
    expectStrepRoundTrip(Ip6Addr(octets));
    expectStrepRoundTrip(Ip6AddrWithMask(Ip6Addr(octets), length));
    expectStrepRoundTrip(EthAddr::fromBytes(std::span(octets).first<6>()));
  }
  EXPECT_TRUE(absl::VerifyTypeImplementsAbslHashCorrectly(
      parsed<Ip6Addr>({"::", "::1", "1::", "0:0:0:1::"})));
  EXPECT_TRUE(absl::VerifyTypeImplementsAbslHashCorrectly(
      parsed<Prefix>({"0.0.0.0/0", "0.0.0.0/1", "10.0.0.0/8"})));
}

TEST(Ip6Prefix, hasAZoneWithinLinkLocalAddressesAlone) {
  for (std::string_view const text :
       {"::/0", "2001:db8::/32", "fe00::/9", "fe7f::/16", "fe80::/10%3", "febf:ffff::/32%3",
        "fec0::/10", "fe80::/64%4294967295"}) {
    EXPECT_EQ(Ip6Prefix(text).stringValue(), text);
  }
  EXPECT_EQ(textError<Ip6Prefix>("fe80::/64"), "prefix fe80::/64 needs a zone");
  EXPECT_EQ(textError<Ip6Prefix>("2001:db8::/32%1"), "prefix 2001:db8::/32%1 has no zone");
  EXPECT_EQ(textError<Ip6Prefix>("fe80::/64%0"), "invalid zone in 'fe80::/64%0'");
  EXPECT_EQ(textError<Ip6Prefix>("2001:db8::1/64"), "prefix 2001:db8::1/64 has host bits set");
}

}  // namespace
}  // namespace Dovel
