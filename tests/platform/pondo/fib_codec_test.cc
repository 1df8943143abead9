#include <random>

#include <gtest/gtest.h>

#include "platform/mav/exception.h"
#include "platform/pondo/codec.h"
#include "platform/pondo/format.h"

namespace Pondo {
namespace {

using namespace std::string_literals;

Dovel::IntfId const eth0("eth0");
Dovel::IpAddr const hop("10.0.0.1");
Fib::Via const via{hop, eth0, 5};

std::string bytesOf(Fib::Via const& one) {
  return encodeRecord<FecTable>({{one}}).substr(sizeof(Format::FecRecord));
}

TEST(FibCodecTest, keysSortAsTheKeysDo) {
  char const* const ascending[] = {
      "0.0.0.0/0",   "0.0.0.0/8",     "1.0.0.0/8",   "10.0.0.0/8",  "10.0.0.0/9",
      "10.0.0.0/32", "10.0.0.128/25", "127.0.0.0/8", "128.0.0.0/1", "255.255.255.255/32"};
  for (std::size_t i = 0; i < std::size(ascending); ++i) {
    Dovel::Prefix const prefix(ascending[i]);
    auto const bytes = encodeKey<RouteTable>(prefix);
    EXPECT_EQ(decodeKey<RouteTable>(bytes), prefix);
    if (i == 0) continue;
    EXPECT_LT(encodeKey<RouteTable>(Dovel::Prefix(ascending[i - 1])), bytes);
  }
  std::uint64_t const ids[] = {1, 255, 256, 0xffffffff, std::uint64_t{1} << 32, ~std::uint64_t{0}};
  for (std::size_t i = 0; i < std::size(ids); ++i) {
    auto const bytes = encodeKey<FecTable>(Fib::FecId(ids[i]));
    EXPECT_EQ(decodeKey<FecTable>(bytes), Fib::FecId(ids[i]));
    if (i == 0) continue;
    EXPECT_LT(encodeKey<FecTable>(Fib::FecId(ids[i - 1])), bytes);
  }
}

TEST(FibCodecTest, recordsComeBackAsTheyWere) {
  for (auto const& type : Routing::Fib::RouteTypeEnumerators) {
    Fib::Route const route{Fib::FecId(7), Routing::RouteMetric(0xffffffff),
                           Routing::RoutePreference(255),
                           static_cast<Routing::Fib::RouteType>(type.value)};
    EXPECT_EQ(decodeRecord<RouteTable>(encodeRecord<RouteTable>(route)), route);
  }
  for (std::size_t const count : {1U, 2U, 128U}) {
    Fib::Fec const fec{std::vector<Fib::Via>(count, via)};
    EXPECT_EQ(decodeRecord<FecTable>(encodeRecord<FecTable>(fec)), fec);
  }
  for (auto const& one : {Fib::Via{hop, {}, 0}, Fib::Via{{}, eth0, 1},
                          Fib::Via{hop, Dovel::IntfId("fifteen-letters"), 0x7fffffff}}) {
    EXPECT_EQ(decodeRecord<FecTable>(encodeRecord<FecTable>({{one}})), (Fib::Fec{{one}}));
  }
}

TEST(FibCodecTest, whatIsNotWellFormedIsNothing) {
  for (auto const& key : {""s, "\x0a\0\0\0"s, "\x0a\0\0\0\x08\0"s, "\x0a\0\0\0\x21"s,
                          "\x0a\0\0\x01\x18"s, "\x80\0\0\0\0"s}) {
    EXPECT_EQ(decodeKey<RouteTable>(key), std::nullopt);
  }
  auto const rest = std::string(12, '\x01');
  EXPECT_TRUE(decodeRecord<RouteTable>("\x01\x00\x13\0"s + rest));
  for (auto const& record : {"\x01\x00\x13\0"s + rest + "\0"s, "\x02\x00\x13\0"s + rest,
                             "\x01\x00\x14\0"s + rest, "\x01\x00\x04\x01"s + rest, ""s}) {
    EXPECT_EQ(decodeRecord<RouteTable>(record), std::nullopt);
  }
  for (auto const& key : {""s, std::string(8, '\0'), std::string(7, 'x'), std::string(9, 'x')}) {
    EXPECT_EQ(decodeKey<FecTable>(key), std::nullopt);
  }
}

TEST(FibCodecTest, fecsThatAreNotWellFormedAreNothing) {
  auto const head = "\x01\0\x01\0\0\0\0\0"s;
  auto const one = bytesOf(via);
  EXPECT_TRUE(decodeRecord<FecTable>(head + one));
  auto const changed = [&](std::size_t at, std::string const& bytes) {
    return std::string(head + one).replace(at, bytes.size(), bytes);
  };
  for (auto const& record :
       {""s, head, head + one + one, head + one + "\0"s, changed(0, "\x02"s), changed(1, "\x01"s),
        changed(2, "\0"s), changed(2, "\x02"s), changed(3, "\x01"s), changed(7, "\x01"s),
        changed(12, "\0"s), changed(15, "\x80"s), changed(16, "\0"s), changed(16, "et\0h"s),
        changed(16, std::string(16, 'x')),
        // no name: an ifIndex of nothing, then a via that leads nowhere
        changed(16, "\0\0\0\0"s), changed(8, std::string(24, '\0'))}) {
    EXPECT_EQ(decodeRecord<FecTable>(record), std::nullopt);
  }
  std::string many = "\x01\0\x81\0\0\0\0\0"s;
  for (int i = 0; i < 129; ++i) many += one;
  EXPECT_EQ(decodeRecord<FecTable>(many), std::nullopt);
}

TEST(FibCodecTest, whateverBytesDecodeAreTheBytesThatEncode) {
  std::mt19937 random(1);
  auto const routes = encodeRecord<RouteTable>({});
  auto const fecs = encodeRecord<FecTable>({{via, via}});
  for (int i = 0; i < 20'000; ++i) {
    auto bytes = i % 2 == 0 ? routes : fecs;
    for (auto flips = random() % 3; flips-- > 0;) {
      bytes[random() % bytes.size()] =
          static_cast<char>(random() % 4 == 0 ? random() : random() % 3);
    }
    if (random() % 8 == 0) bytes.resize(random() % (bytes.size() + 2));
    if (auto const route = decodeRecord<RouteTable>(bytes)) {
      EXPECT_EQ(encodeRecord<RouteTable>(*route), bytes);
    }
    if (auto const fec = decodeRecord<FecTable>(bytes)) {
      EXPECT_EQ(encodeRecord<FecTable>(*fec), bytes);
    }
  }
}

TEST(FibCodecTest, whatReadersWouldRefuseIsNotEncoded) {
  EXPECT_THROW(encodeKey<FecTable>(Fib::FecId()), Mav::RangeException);
  Fib::Route route;
  route.routeType = static_cast<Routing::Fib::RouteType>(20);
  EXPECT_THROW(encodeRecord<RouteTable>(route), Mav::RangeException);
  EXPECT_THROW(encodeRecord<FecTable>({}), Mav::RangeException);
  EXPECT_THROW(encodeRecord<FecTable>({std::vector<Fib::Via>(129, via)}), Mav::RangeException);
  for (auto const& none : {Fib::Via{}, Fib::Via{hop, eth0, 0}, Fib::Via{hop, {}, 5},
                           Fib::Via{hop, Dovel::IntfId("sixteen-letters-"), 5}}) {
    EXPECT_THROW(encodeRecord<FecTable>({{none}}), Mav::RangeException);
  }
}

TEST(ViaIndexTest, goesFrom0To127) {
  Fib::ViaIndex index(126);
  EXPECT_EQ((++index).value(), 127U);
  try {
    ++index;
    FAIL();
  } catch (Mav::RangeException const& e) {
    EXPECT_STREQ(e.what(), "ViaIndex::value < ViaIndex::min or > ViaIndex::max not allowed");
  }
  EXPECT_EQ(index.value(), 127U);
  EXPECT_THROW(Fib::ViaIndex(128), Mav::RangeException);
}

}  // namespace
}  // namespace Pondo
