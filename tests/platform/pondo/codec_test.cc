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

static_assert(Format::schemaVersion == 1);

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

  Format::MetaRecord const meta{
      .instance = 2, .generation = 3, .logFirst = 4, .logNext = 5, .complete = 1};
  std::string bytes(sizeof meta, '\0');
  std::memcpy(bytes.data(), &meta, sizeof meta);
  EXPECT_EQ(bytes,
            "OVOT\x01\0\0\0\x02\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0\x04\0\0\0\0\0\0\0\x05\0\0\0\0\0\0\0"
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

TEST(CodecTest, whatReadersWouldRefuseIsNotEncoded) {
  EXPECT_THROW(encodeKey<LinkTable>(Dovel::IntfId()), Mav::RangeException);
  EXPECT_THROW(encodeRecord<LinkTable>({.ifIndex = 0}), Mav::RangeException);
  EXPECT_THROW(encodeKey<ForwardingTable>(static_cast<Family>(5)), Mav::RangeException);
}

}  // namespace
}  // namespace Pondo
