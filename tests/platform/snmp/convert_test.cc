// Conversions to the byte, the border that widens them, and the decoders.

#include "platform/snmp/convert.h"

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/mav/exception.h"
#include "platform/snmp/decode.h"
#include "platform/snmp/set_value.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Bytes = std::vector<unsigned char>;
using Words = std::vector<std::uint32_t>;

/// What F writes; checks that it needs exactly that much room and touches nothing beyond.
template <class T, class F>
Bytes converted(T value) {
  Bytes buffer(1024, 0xee);
  auto const length = Snmp::SnmpConvert<T, F>(value, buffer.data(), 1024);
  if (length < 0) return {};
  EXPECT_EQ(buffer[static_cast<std::size_t>(length)], 0xee);
  Bytes small(1024, 0xee);
  EXPECT_LT((Snmp::SnmpConvert<T, F>(value, small.data(), length - 1)), 0);
  EXPECT_EQ(small, Bytes(1024, 0xee));
  EXPECT_EQ((Snmp::SnmpConvert<T, F>(value, small.data(), length)), length);
  buffer.resize(static_cast<std::size_t>(length));
  return buffer;
}
template <class T, class F>
Words words(T value) {
  auto const bytes = converted<T, F>(value);
  Words result(bytes.size() / 4);
  if (!bytes.empty()) std::memcpy(result.data(), bytes.data(), bytes.size());
  return result;
}

TEST(Convert, NumbersAre32BitWordsAndAllElseIsOctets) {
  EXPECT_THAT((words<std::uint64_t, Snmp::U64ToCounter32F>(0x1'0000'0005)), ElementsAre(5));
  EXPECT_THAT((words<std::uint64_t, Snmp::U64ToCounter64F>(0x0102030405060708)),
              ElementsAre(0x01020304, 0x05060708));
  EXPECT_THAT((words<double, Snmp::SecondsToTimeTicksF>(1.5)), ElementsAre(150));
  EXPECT_THAT((words<double, Snmp::SecondsToTimeTicksF>(-1.0)), ElementsAre(0));
  EXPECT_THAT((words<double, Snmp::SecondsToTimeTicksF>(42949672.96 + 0.015)), ElementsAre(1));
  EXPECT_THAT((converted<Mav::String8 const&, Snmp::StringToAsnOctetStringF>("a\xff")),
              ElementsAre('a', 0xff));
  EXPECT_THAT((converted<Dovel::EthAddr const&, Snmp::DovelEthAddrToAsnOctetStringF>(
                  Dovel::EthAddr("02:00:5e:10:00:ff"))),
              ElementsAre(2, 0, 0x5e, 0x10, 0, 0xff));
}

TEST(Convert, OidsAreDottedNumbers) {
  auto const oidOf = [](std::string const& text) {
    return words<Mav::String8 const&, Snmp::StringToAsnOidF>(text);
  };
  EXPECT_THAT(oidOf("0.0"), ElementsAre(0, 0));
  EXPECT_THAT(oidOf(".1.3.4294967295"), ElementsAre(1, 3, 0xffffffff));
  for (auto const* const malformed : {"", ".", "1.", "1..3", "..1", "a", "1.b", "1 .3", " 1", "-1",
                                      "+1", "1.3 ", "1.4294967296", "0x1"}) {
    EXPECT_THAT(oidOf(malformed), IsEmpty()) << malformed;
  }
  std::string longest = "1";
  for (int i = 1; i < 128; ++i) longest += ".1";
  EXPECT_EQ(oidOf(longest).size(), 128U);
  EXPECT_THAT(oidOf(longest + ".1"), IsEmpty());
}

TEST(Convert, UptimeIsZeroBeforeTheStartAndCountsHundredths) {
  EXPECT_EQ(Snmp::uptimeTicks(500.0, 500.0, 1234), 1234U);
  EXPECT_EQ(Snmp::uptimeTicks(490.0, 500.0, 1234), 234U);
  EXPECT_EQ(Snmp::uptimeTicks(0.0, 500.0, 1234), 0U);
  EXPECT_EQ(Snmp::uptimeTicks(501.0, 500.0, 0xffffffff), 99U);  // wraps after 497 days
  EXPECT_EQ(Snmp::uptimeTicks(std::numeric_limits<double>::quiet_NaN(), 500.0, 1), 0U);
  EXPECT_THAT((words<double, Snmp::NowSecondsToUptimeTimeTicksF>(0.0)), ElementsAre(0));
}

class Variable {
 public:
  ~Variable() { snmp_free_var_internals(&variable); }
  bool set(unsigned char type, Words const& value) {
    Bytes bytes(value.size() * 4);
    if (!value.empty()) std::memcpy(bytes.data(), value.data(), bytes.size());
    return Snmp::setVarTypedValue(&variable, type, bytes.data(),
                                  static_cast<std::int32_t>(bytes.size()));
  }
  netsnmp_variable_list variable{};
};

TEST(SetVarTypedValue, WordsAreWidenedToNetSnmpsOwnSize) {
  Variable objectId;
  ASSERT_TRUE(objectId.set(ASN_OBJECT_ID, {1, 3, 0xffffffff}));
  EXPECT_EQ(objectId.variable.val_len, 3 * sizeof(oid));
  EXPECT_EQ(objectId.variable.val.objid[2], 0xffffffffU);
  Variable counter;
  ASSERT_TRUE(counter.set(ASN_COUNTER64, {0xfffffffe, 0xfffffffd}));
  EXPECT_EQ(counter.variable.val.counter64->high, 0xfffffffeU);
  EXPECT_EQ(counter.variable.val.counter64->low, 0xfffffffdU);
  for (unsigned char const type : Bytes{ASN_UNSIGNED, ASN_COUNTER, ASN_TIMETICKS}) {
    Variable number;
    ASSERT_TRUE(number.set(type, {0xffffffff}));
    EXPECT_EQ(static_cast<unsigned long>(*number.variable.val.integer), 0xffffffffUL);
  }
  EXPECT_TRUE(Variable().set(ASN_OBJECT_ID, {}));
  EXPECT_FALSE(Variable().set(ASN_COUNTER64, {1}));
  EXPECT_FALSE(Variable().set(ASN_OBJECT_ID, Words(129)));
  for (auto const& [type, length] : {std::pair{ASN_OBJECT_ID, 6}, {ASN_INTEGER, -1}}) {
    Variable odd;
    unsigned char const bytes[6] = {};
    EXPECT_FALSE(
        Snmp::setVarTypedValue(&odd.variable, static_cast<unsigned char>(type), bytes, length));
  }
  Variable integer;
  ASSERT_TRUE(integer.set(ASN_INTEGER, words<int, Snmp::S32ToAsnIntegerF>(-7)));
  EXPECT_EQ(*integer.variable.val.integer, -7L);
}

TEST(Decode, WhatDoesNotFitIsARangeException) {
  long const fits = std::numeric_limits<std::int32_t>::min();
  EXPECT_EQ(Snmp::AsnIntegerToS32(&fits), fits);
  for (long const beyond : {1L << 31, 0xffffffffL, -(1L << 31) - 1}) {
    EXPECT_THROW(Snmp::AsnIntegerToS32(&beyond), Mav::RangeException);
  }
  unsigned long const word = 0xffffffff;
  EXPECT_EQ(Snmp::AsnUnsignedToU32(&word), 0xffffffffU);
  unsigned long const more = 1UL << 32;
  EXPECT_THROW(Snmp::AsnUnsignedToU32(&more), Mav::RangeException);
  EXPECT_EQ(Snmp::AsnIpAddressToDovelIpAddr("\x0a\x01\x02\x03"), Dovel::IpAddr("10.1.2.3"));
  netsnmp_variable_list variable{};
  snmp_set_var_typed_value(&variable, ASN_IPADDRESS, "\x0a\x01\x02\x03\x04", 5);
  EXPECT_THROW(Snmp::decodeIpAddress(variable), Mav::RangeException);
  EXPECT_EQ(Snmp::decodeOctetString(variable).size(), 5U);
  snmp_free_var_internals(&variable);
}

}  // namespace
