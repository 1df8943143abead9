// Keys and records as bytes, and what is refused in either direction.

#include "platform/pondo/tables/codec.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <random>

#include <gtest/gtest.h>

#include "platform/mav/exception.h"
#include "platform/pondo/tables/format.h"

namespace Pondo {
namespace {

using namespace std::string_literals;

static_assert(Format::schemaVersion == 7);
using namespace Routing::Fib;
static_assert(routeTypeUnknown <= 3 && routeTypeBlackhole <= 3 && routeTypeUnreachable <= 3 &&
              routeTypeProhibit <= 3 && routeTypeStatic == 4 && routeTypeRip == 6 &&
              routeTypeConnected == 7 && routeTypeOspf == 11 && routeTypeOspfNssaExternal2 == 16 &&
              routeTypeBgp == 17 && routeTypeInternalBgp == 18);

Dovel::IntfId const eth0("eth0");
Dovel::IntfId const longest("fifteen-letters");
Dovel::IntfId const tooLong("sixteen-letters-");
Dovel::IpAddr const addr("10.0.0.1");
Fib::Via const via{addr, eth0, 5};
Fib::Route const refusing{{}, {}, {}, routeTypeProhibit, routeTypeRedirect};

// A failure here means that schemaVersion has to change.
TEST(FormatTest, bytesAreWhatThisSchemaVersionSays) {
  if (std::endian::native != std::endian::little) GTEST_SKIP() << "pinned for little endian";
  EXPECT_EQ(ForwardingTable::encodeKey(Family::ipv4), "\x04"s);
  EXPECT_EQ(ForwardingTable::encodeKey(Family::ipv6), "\x06"s);
  EXPECT_EQ(ForwardingTable::encodeRecord({.routing = true}), "\x01\x01\0\0"s);
  EXPECT_EQ(LinkTable::encodeKey(Dovel::IntfId("eth0")), "eth0");
  EXPECT_EQ(LinkTable::encodeRecord({.ifIndex = 0x01020304, .adminUp = true}),
            "\x01\x01\0\0\x04\x03\x02\x01"s);
  EXPECT_EQ(LinkTable::encodeRecord({.ifIndex = 5, .adminUp = true, .operUp = true}),
            "\x01\x03\0\0\x05\0\0\0"s);

  EXPECT_EQ(
      Address4Table::encodeKey({eth0, Dovel::IpAddr(0x0a000001), 24, Dovel::IpAddr(0x0a000002)}),
      "eth0\0\x0a\0\0\x01\x18\x0a\0\0\x02"s);
  EXPECT_EQ(Address4Table::encodeRecord({.label = Dovel::IntfId("eth0:1"), .secondary = true}),
            "\x01\x01\0\0eth0:1\0\0\0\0\0\0\0\0\0\0"s);
  Dovel::Ip6Addr const addr6("102:304:506:708:90a:b0c:d0e:f10");
  EXPECT_EQ(Address6Table::encodeKey({eth0, addr6}),
            "eth0\0\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10"s);
  EXPECT_EQ(Address6Table::encodeRecord({.length = 64, .peer = addr6, .dadFailed = true}),
            "\x01\x02\x40\0\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10"s);

  EXPECT_EQ(Neighbour4Table::encodeKey({eth0, Dovel::IpAddr(0x0a000001)}), "eth0\0\x0a\0\0\x01"s);
  Dovel::EthAddr const ethAddr("01:02:03:04:05:06");
  EXPECT_EQ(Neighbour4Table::encodeRecord({.ethAddr = ethAddr, .isStatic = true}),
            "\x01\x01\x01\x02\x03\x04\x05\x06"s);

  EXPECT_EQ(RouteTable::encodeKey(Dovel::Prefix("10.1.2.0/23")), "\x0a\x01\x02\0\x17"s);
  EXPECT_EQ(RouteTable::encodeRecord({.fecId = Fib::FecId(0x0102030405060708),
                                      .metric = Routing::RouteMetric(0x11121314),
                                      .preference = Routing::RoutePreference(200),
                                      .routeType = routeTypeBgp,
                                      .changedAt = 0x21222324}),
            "\x03\xc8\x11\0\x14\x13\x12\x11\x24\x23\x22\x21"
            "\x08\x07\x06\x05\x04\x03\x02\x01"s);
  EXPECT_EQ(Route6Table::encodeRecord(refusing), "\x03\0\x03\x14"s + std::string(16, '\0'));
  EXPECT_EQ(Route6Table::encodeKey(Dovel::Ip6Prefix("fe80:102::/32%16909060")),
            "\x01\xfe\x80\x01\x02\0\0\0\0\0\0\0\0\0\0\0\0\x01\x02\x03\x04\x20"s);
  EXPECT_EQ(FecTable::encodeKey(Fib::FecId(0x0102030405060708)),
            "\x01\x02\x03\x04\x05\x06\x07\x08"s);
  EXPECT_EQ(FecTable::encodeRecord(
                {{{Dovel::IpAddr(0x0a000001), eth0, 5}, {{}, {}, 0, addr6, routeTypeBgp}}}),
            "\x02\0\x02\0\0\0\0\0"
            "\x0a\0\0\x01\x05\0\0\0eth0\0\0\0\0\0\0\0\0\0\0\0\0"
            "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
            "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
            "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10\x11\0\0\0"s);
  auto const neighbour = NeighbourTable::Key::of(0x01020304, Dovel::Ip6Addr("fe80::1"));
  EXPECT_EQ(NeighbourTable::encodeKey(neighbour),
            "\x01\x02\x03\x04\x04\xfe\x80\0\0\0\0\0\0\0\0\0\0\0\0\0\x01"s);
  EXPECT_EQ(NeighbourTable::encodeRecord({.linkAddress = Dovel::LinkAddr(ethAddr.octets()),
                                          .origin = NeighbourTable::Origin::own,
                                          .state = NeighbourTable::State::failed,
                                          .updatedAt = 0x0102030405060708}),
            "\x01\x02\x05\x06\0\0\0\0\x08\x07\x06\x05\x04\x03\x02\x01"
            "\x01\x02\x03\x04\x05\x06\0\0\0\0\0\0\0\0\0\0"
            "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"s);

  Format::MetaRecord const meta{
      .instance = 2, .generation = 3, .logFirst = 4, .logNext = 5, .complete = 1, .origin = 2};
  std::string bytes(sizeof meta, '\0');
  std::memcpy(bytes.data(), &meta, sizeof meta);
  EXPECT_EQ(bytes,
            "OVOT\x07\0\0\0\x02\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0\x04\0\0\0\0\0\0\0\x05\0\0\0\0\0\0\0"
            "\x01\0\0\0\0\0\0\0\x02\0\0\0\0\0\0\0"s);
}

/// The bytes of keys sort as the keys do, and each key comes back.
template <class Table>
void expectSorted(std::vector<typename Table::Key> const& ascending) {
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    auto const bytes = Table::encodeKey(ascending[i]);
    EXPECT_EQ(Table::decodeKey(bytes), ascending[i]);
    if (i == 0) continue;
    EXPECT_LT(ascending[i - 1], ascending[i]);
    EXPECT_LT(Table::encodeKey(ascending[i - 1]), bytes);
  }
}

TEST(CodecTest, keysSortAsBytesAndComeBack) {
  auto const key = [](char const* link, char const* local, std::uint8_t length, char const* peer) {
    return Address4Table::Key{Dovel::IntfId(link), Dovel::IpAddr(local), length,
                              Dovel::IpAddr(peer)};
  };
  std::vector<Address4Table::Key> const addresses = {
      key("eth0", "9.255.255.255", 32, "9.255.255.255"),
      key("eth0", "10.0.0.1", 0, "10.0.0.1"),
      key("eth0", "10.0.0.1", 24, "10.0.0.0"),
      key("eth0", "10.0.0.1", 24, "200.0.0.1"),
      key("eth0", "200.0.0.1", 8, "1.1.1.1"),
      key("eth0#2", "1.1.1.1", 8, "1.1.1.1"),
      key("eth00", "1.1.1.1", 8, "1.1.1.1"),
      key("eth1", "1.1.1.1", 32, "1.1.1.1"),
  };
  expectSorted<Address4Table>(addresses);
  for (auto const& one : addresses) {
    EXPECT_TRUE(Address4Table::encodeKey(one).starts_with(addressKeysOf(one.link)));
  }
  std::vector<Dovel::Prefix> prefixes;
  for (auto const* text :
       {"0.0.0.0/0", "0.0.0.0/8", "1.0.0.0/8", "10.0.0.0/8", "10.0.0.0/9", "10.0.0.0/32",
        "10.0.0.128/25", "127.0.0.0/8", "128.0.0.0/1", "255.255.255.255/32"}) {
    prefixes.emplace_back(text);
  }
  expectSorted<RouteTable>(prefixes);
  expectSorted<Route6Table>({Dovel::Ip6Prefix("::/0"), Dovel::Ip6Prefix("2001:db8::/32"),
                             Dovel::Ip6Prefix("2001:db8::/33"), Dovel::Ip6Prefix("ff00::/8"),
                             Dovel::Ip6Prefix("fe80::/64%2"), Dovel::Ip6Prefix("fe80::/10%300"),
                             Dovel::Ip6Prefix("fe80::/64%300"), Dovel::Ip6Prefix("fe80::1/128%1")});
  expectSorted<NeighbourTable>({NeighbourTable::Key::of(2, Dovel::IpAddr("9.0.0.1")),
                                NeighbourTable::Key::of(2, Dovel::IpAddr("10.0.0.1")),
                                NeighbourTable::Key::of(2, Dovel::Ip6Addr("ff::1")),
                                NeighbourTable::Key::of(2, Dovel::Ip6Addr("fe80::1")),
                                NeighbourTable::Key::of(300, Dovel::IpAddr("9.0.0.1"))});
}

/// Edits of `good` at random: what is still taken is what would have been written.
template <class Decode, class Encode>
void expectStrict(std::string const& good, Decode const& decode, Encode const& encode) {
  std::mt19937 random(1);
  int taken = 0, refused = 0;
  for (int i = 0; i < 20'000; ++i) {
    auto bytes = good;
    for (auto edits = random() % 4; edits > 0 && !bytes.empty(); --edits) {
      auto const at = random() % bytes.size();
      auto const octet = static_cast<char>(random() % 2 == 0 ? random() : random() % 3);
      bytes.replace(at, random() % 8 == 0 ? 0 : 1, random() % 8 == 0 ? 0 : 1, octet);
    }
    if (random() % 32 == 0) bytes.resize(random() % (bytes.size() + 1));
    auto const value = decode(bytes);
    ++(value ? taken : refused);
    if (value) {
      ASSERT_EQ(encode(*value), bytes);
    }
    if (bytes.empty()) {
      ASSERT_FALSE(value);
    }
  }
  EXPECT_GT(std::min(taken, refused), 100);
}
template <class Table>
void expectStrict(typename Table::Key const& key, typename Table::Record const& record) {
  expectStrict(Table::encodeKey(key), Table::decodeKey, Table::encodeKey);
  expectStrict(Table::encodeRecord(record), Table::decodeRecord, Table::encodeRecord);
}

// The seeds are one octet away from what is too long, too much or nothing at all.
TEST(CodecTest, whateverBytesDecodeAreTheBytesThatEncode) {
  expectStrict<ForwardingTable>(Family::ipv4, {.routing = true});
  expectStrict<LinkTable>(Dovel::IntfId(std::string(31, 'x')), {.ifIndex = 1});
  Dovel::IpAddr const one(1);
  expectStrict<Address4Table>({eth0, one, 32, addr}, {.label = longest});
  expectStrict<Address4Table>({longest, one, 32, addr}, {.label = eth0});
  Dovel::Ip6Addr const one6("::1");
  expectStrict<Address6Table>({eth0, one6}, {.length = 128, .peer = one6, .deprecated = true});
  expectStrict<Neighbour4Table>({longest, addr}, {.ethAddr = {}, .isStatic = true});
  expectStrict<RouteTable>(Dovel::Prefix("10.0.0.0/8"), {});
  expectStrict<Route6Table>(Dovel::Ip6Prefix("fe80::/10%1"), refusing);
  expectStrict<FecTable>(Fib::FecId(1), {{{one, {}, 0}, {{}, longest, 1, one6}}});
  expectStrict<NeighbourTable>(
      NeighbourTable::Key::of(1, Dovel::Ip6Addr("fe80::1")),
      {.linkAddress = Dovel::LinkAddr(std::array<std::uint8_t, 31>{1}), .updatedAt = 1});
}

TEST(CodecTest, aFecHasAtMost128Vias) {
  auto const one = FecTable::encodeRecord({{via}}).substr(sizeof(Format::FecRecord));
  Fib::Fec const most{std::vector<Fib::Via>(128, via)};
  auto many = FecTable::encodeRecord(most);
  EXPECT_EQ(FecTable::decodeRecord(many), most);
  many[2] = '\x81';
  EXPECT_EQ(FecTable::decodeRecord(many + one), std::nullopt);
}

TEST(CodecTest, whatReadersWouldRefuseIsNotEncoded) {
  EXPECT_THROW(Address4Table::encodeKey({eth0, Dovel::IpAddr(), 8, addr}), Mav::RangeException);
  EXPECT_THROW(Address4Table::encodeKey({eth0, addr, 33, addr}), Mav::RangeException);
  EXPECT_THROW(Address4Table::encodeKey({tooLong, addr, 8, addr}), Mav::RangeException);
  EXPECT_THROW(Address4Table::encodeRecord({.label = tooLong}), Mav::RangeException);
  EXPECT_THROW(Address6Table::encodeKey({eth0, Dovel::Ip6Addr()}), Mav::RangeException);
  EXPECT_THROW(Address6Table::encodeRecord({.length = 129, .peer = {}}), Mav::RangeException);
  EXPECT_THROW(LinkTable::encodeKey(Dovel::IntfId()), Mav::RangeException);
  EXPECT_THROW(LinkTable::encodeRecord({.ifIndex = 0}), Mav::RangeException);
  EXPECT_THROW(ForwardingTable::encodeKey(static_cast<Family>(5)), Mav::RangeException);
  EXPECT_THROW(FecTable::encodeKey(Fib::FecId()), Mav::RangeException);
  Fib::Route route;
  route.routeType = static_cast<RouteType>(21);
  EXPECT_THROW(RouteTable::encodeRecord(route), Mav::RangeException);
  route = refusing;
  route.routeType = routeTypeBgp;
  EXPECT_THROW(RouteTable::encodeRecord(route), Mav::RangeException);
  EXPECT_THROW(FecTable::encodeRecord({}), Mav::RangeException);
  EXPECT_THROW(FecTable::encodeRecord({std::vector<Fib::Via>(129, via)}), Mav::RangeException);
  for (auto const& none :
       {Fib::Via{}, Fib::Via{addr, eth0, 0}, Fib::Via{addr, {}, 5}, Fib::Via{addr, tooLong, 5},
        Fib::Via{addr, eth0, 5, Dovel::Ip6Addr("::1")}}) {
    EXPECT_THROW(FecTable::encodeRecord({{none}}), Mav::RangeException);
  }
}

}  // namespace
}  // namespace Pondo
