// The format's bytes: a failure here means that schemaVersion has to change.

#include "platform/pondo/codec.h"

#include <bit>
#include <cstring>

#include <gtest/gtest.h>

#include "platform/mav/exception.h"
#include "platform/pondo/format.h"

namespace Pondo {
namespace {

using namespace std::string_literals;

static_assert(Format::schemaVersion == 3);

TEST(FormatTest, bytesAreWhatThisSchemaVersionSays) {
  if (std::endian::native != std::endian::little) GTEST_SKIP() << "pinned for little endian";
  EXPECT_EQ(encodeKey<ForwardingTable>(Family::ipv4), "\x04"s);
  EXPECT_EQ(encodeKey<ForwardingTable>(Family::ipv6), "\x06"s);
  EXPECT_EQ(encodeRecord<ForwardingTable>({.routing = true}), "\x01\x01\0\0"s);
  EXPECT_EQ(encodeKey<LinkTable>(Dovel::IntfId("eth0")), "eth0");
  EXPECT_EQ(encodeRecord<LinkTable>({.ifIndex = 0x01020304, .adminUp = true}),
            "\x01\x01\0\0\x04\x03\x02\x01"s);
  EXPECT_EQ(encodeRecord<LinkTable>({.ifIndex = 5, .adminUp = true, .operUp = true}),
            "\x01\x03\0\0\x05\0\0\0"s);

  Dovel::IntfId const eth0("eth0");
  EXPECT_EQ(
      encodeKey<Address4Table>({eth0, Dovel::IpAddr(0x0a000001), 24, Dovel::IpAddr(0x0a000002)}),
      "eth0\0\x0a\0\0\x01\x18\x0a\0\0\x02"s);
  EXPECT_EQ(encodeRecord<Address4Table>({.label = Dovel::IntfId("eth0:1"), .secondary = true}),
            "\x01\x01\0\0eth0:1\0\0\0\0\0\0\0\0\0\0"s);
  Dovel::Ip6Addr const addr6("102:304:506:708:90a:b0c:d0e:f10");
  EXPECT_EQ(encodeKey<Address6Table>({eth0, addr6}),
            "eth0\0\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10"s);
  EXPECT_EQ(encodeRecord<Address6Table>({.length = 64, .peer = addr6, .dadFailed = true}),
            "\x01\x02\x40\0\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10"s);

  EXPECT_EQ(encodeKey<RouteTable>(Dovel::Prefix("10.1.2.0/23")), "\x0a\x01\x02\0\x17"s);
  EXPECT_EQ(encodeRecord<RouteTable>({.fecId = Fib::FecId(0x0102030405060708),
                                      .metric = Routing::RouteMetric(0x11121314),
                                      .preference = Routing::RoutePreference(200),
                                      .routeType = Routing::Fib::routeTypeBgp}),
            "\x01\xc8\x11\0\x14\x13\x12\x11\x08\x07\x06\x05\x04\x03\x02\x01"s);
  EXPECT_EQ(encodeKey<FecTable>(Fib::FecId(0x0102030405060708)),
            "\x01\x02\x03\x04\x05\x06\x07\x08"s);
  EXPECT_EQ(encodeRecord<FecTable>(
                {{{Dovel::IpAddr(0x0a000001), eth0, 5}, {Dovel::IpAddr(0x0a000002), {}, 0}}}),
            "\x01\0\x02\0\0\0\0\0"
            "\x0a\0\0\x01\x05\0\0\0eth0\0\0\0\0\0\0\0\0\0\0\0\0"
            "\x0a\0\0\x02\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"s);

  Format::MetaRecord const meta{
      .instance = 2, .generation = 3, .logFirst = 4, .logNext = 5, .complete = 1};
  std::string bytes(sizeof meta, '\0');
  std::memcpy(bytes.data(), &meta, sizeof meta);
  EXPECT_EQ(bytes,
            "OVOT\x03\0\0\0\x02\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0\x04\0\0\0\0\0\0\0\x05\0\0\0\0\0\0\0"
            "\x01\0\0\0\0\0\0\0"s);
}

TEST(CodecTest, linkKeysSortAsTheNamesDo) {
  char const* const ascending[] = {"a", "eth0", "eth0#2", "eth1", "eth10", "lo", "\xff"};
  for (std::size_t i = 1; i < std::size(ascending); ++i) {
    Dovel::IntfId const less(ascending[i - 1]);
    Dovel::IntfId const greater(ascending[i]);
    EXPECT_LT(less, greater);
    EXPECT_LT(encodeKey<LinkTable>(less), encodeKey<LinkTable>(greater));
    EXPECT_EQ(decodeKey<LinkTable>(encodeKey<LinkTable>(less)), less);
  }
}

TEST(CodecTest, addressKeysSortAsTheKeysDo) {
  auto const key = [](char const* link, char const* local, std::uint8_t length, char const* peer) {
    return Address4Table::Key{Dovel::IntfId(link), Dovel::IpAddr(local), length,
                              Dovel::IpAddr(peer)};
  };
  Address4Table::Key const ascending[] = {
      key("eth0", "9.255.255.255", 32, "9.255.255.255"),
      key("eth0", "10.0.0.1", 0, "10.0.0.1"),
      key("eth0", "10.0.0.1", 24, "10.0.0.0"),
      key("eth0", "10.0.0.1", 24, "200.0.0.1"),
      key("eth0", "200.0.0.1", 8, "1.1.1.1"),
      key("eth0#2", "1.1.1.1", 8, "1.1.1.1"),
      key("eth00", "1.1.1.1", 8, "1.1.1.1"),
      key("eth1", "1.1.1.1", 32, "1.1.1.1"),
  };
  for (std::size_t i = 0; i < std::size(ascending); ++i) {
    auto const bytes = encodeKey<Address4Table>(ascending[i]);
    EXPECT_EQ(decodeKey<Address4Table>(bytes), ascending[i]);
    EXPECT_TRUE(bytes.starts_with(addressKeysOf(ascending[i].link)));
    if (i == 0) continue;
    EXPECT_LT(ascending[i - 1], ascending[i]);
    EXPECT_LT(encodeKey<Address4Table>(ascending[i - 1]), bytes);
  }
  Address6Table::Key const low{Dovel::IntfId("a"), Dovel::Ip6Addr("fe80::1")};
  Address6Table::Key const high{Dovel::IntfId("a#2"), Dovel::Ip6Addr("2001:db8::1")};
  EXPECT_LT(encodeKey<Address6Table>(low), encodeKey<Address6Table>(high));
  EXPECT_EQ(decodeKey<Address6Table>(encodeKey<Address6Table>(high)), high);
}

TEST(CodecTest, addressRecordsComeBackAsTheyWere) {
  for (auto const* label : {"", "eth0", "fifteen-letters"}) {
    Address4Table::Record const record{.label = Dovel::IntfId(label), .secondary = true};
    EXPECT_EQ(decodeRecord<Address4Table>(encodeRecord<Address4Table>(record)), record);
  }
  for (unsigned flags = 0; flags < 8; ++flags) {
    Address6Table::Record const record{.length = 128,
                                       .peer = Dovel::Ip6Addr("2001:db8::2"),
                                       .tentative = (flags & 1) != 0,
                                       .dadFailed = (flags & 2) != 0,
                                       .deprecated = (flags & 4) != 0};
    EXPECT_EQ(decodeRecord<Address6Table>(encodeRecord<Address6Table>(record)), record);
  }
}

TEST(CodecTest, whatIsNotWellFormedIsNothing) {
  for (auto const& key : {""s, "\x05"s, "\x04\x04"s}) {
    EXPECT_EQ(decodeKey<ForwardingTable>(key), std::nullopt);
  }
  for (auto const& record : {""s, "\x01\x01\0"s, "\x02\x01\0\0"s, "\x01\x02\0\0"s,
                             "\x01\x01\x01\0"s, "\x01\x01\0\0\0"s}) {
    EXPECT_EQ(decodeRecord<ForwardingTable>(record), std::nullopt);
  }
  for (auto const& key : {""s, "et\0h"s, std::string(32, 'x')}) {
    EXPECT_EQ(decodeKey<LinkTable>(key), std::nullopt);
  }
  for (auto const& record :
       {"\x02\0\0\0\x05\0\0\0"s, "\x01\x04\0\0\x05\0\0\0"s, "\x01\0\0\x01\x05\0\0\0"s,
        "\x01\0\0\0\0\0\0\0"s, "\x01\0\0\0\0\0\0\x80"s, "\x01\0\0\0\x05\0\0"s}) {
    EXPECT_EQ(decodeRecord<LinkTable>(record), std::nullopt);
  }
}

TEST(CodecTest, addressesThatAreNotWellFormedAreNothing) {
  auto const rest4 = "\x0a\0\0\x01\x18\x0a\0\0\x01"s;
  EXPECT_TRUE(decodeKey<Address4Table>("a\0"s + rest4));
  for (auto const& key :
       {""s, "a"s, rest4, "\0"s + rest4, "a\0"s + rest4 + "\0"s, "a\0"s + rest4.substr(1),
        "a\0\0\0\0\0\x18\x0a\0\0\x01"s, "a\0\x0a\0\0\x01\x21\x0a\0\0\x01"s,
        std::string(16, 'x') + "\0"s + rest4}) {
    EXPECT_EQ(decodeKey<Address4Table>(key), std::nullopt);
  }
  auto const padding = std::string(12, '\0');
  EXPECT_TRUE(decodeRecord<Address4Table>("\x01\0\0\0eth0"s + padding));
  for (auto const& record : {"\x01\0\0\0eth0"s + padding + "\0"s, "\x02\0\0\0eth0"s + padding,
                             "\x01\x02\0\0eth0"s + padding, "\x01\0\x01\0eth0"s + padding,
                             "\x01\0\0\0et\0h"s + padding, "\x01\0\0\0"s + std::string(16, 'x')}) {
    EXPECT_EQ(decodeRecord<Address4Table>(record), std::nullopt);
  }
  EXPECT_EQ(decodeKey<Address6Table>("a\0"s + std::string(16, '\0')), std::nullopt);
  EXPECT_EQ(decodeKey<Address6Table>("a\0"s + std::string(17, 'x')), std::nullopt);
  auto const peer = std::string(16, 'p');
  EXPECT_TRUE(decodeRecord<Address6Table>("\x01\x07\x80\0"s + peer));
  for (auto const& record : {"\x01\x08\x80\0"s + peer, "\x01\x07\x81\0"s + peer,
                             "\x01\x07\x80\x01"s + peer, "\x01\x07\x80\0p"s + peer}) {
    EXPECT_EQ(decodeRecord<Address6Table>(record), std::nullopt);
  }
}

TEST(CodecTest, whatReadersWouldRefuseIsNotEncoded) {
  Dovel::IntfId const a("a");
  Dovel::IpAddr const addr(1);
  EXPECT_THROW(encodeKey<Address4Table>({a, Dovel::IpAddr(), 8, addr}), Mav::RangeException);
  EXPECT_THROW(encodeKey<Address4Table>({a, addr, 33, addr}), Mav::RangeException);
  EXPECT_THROW(encodeKey<Address4Table>({Dovel::IntfId("sixteen-letters-"), addr, 8, addr}),
               Mav::RangeException);
  EXPECT_THROW(encodeKey<Address4Table>({Dovel::IntfId(), addr, 8, addr}), Mav::RangeException);
  EXPECT_THROW(encodeRecord<Address4Table>({.label = Dovel::IntfId("sixteen-letters-")}),
               Mav::RangeException);
  EXPECT_THROW(encodeKey<Address6Table>({a, Dovel::Ip6Addr()}), Mav::RangeException);
  EXPECT_THROW(encodeRecord<Address6Table>({.length = 129, .peer = {}}), Mav::RangeException);
  EXPECT_THROW(encodeKey<LinkTable>(Dovel::IntfId()), Mav::RangeException);
  EXPECT_THROW(encodeRecord<LinkTable>({.ifIndex = 0}), Mav::RangeException);
  EXPECT_THROW(encodeKey<ForwardingTable>(static_cast<Family>(5)), Mav::RangeException);
}

}  // namespace
}  // namespace Pondo
