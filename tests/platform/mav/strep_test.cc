#include "platform/mav/strep.h"

#include <cstdint>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "platform/mav/enumeration.h"
#include "tests/support/strep_checks.h"

namespace {

using Mav::String8;

TEST(Strep, octetsThatAreNotPrintableAreEscapedAndComeBack) {
  EXPECT_EQ(Mav::valueToStrep(String8{'\0', 'a', '\'', '\\', '\n', '\x7f', '\xc3'}),
            "'\\x00a\\'\\\\\\x0a\\x7f\\xc3'");
  std::mt19937 random(1);
  for (int i = 0; i < 2000; ++i) {
    String8 bytes(random() % 20, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    expectStrepRoundTrip(bytes);
  }
}

TEST(Strep, numbersAreDecimalAndKeepTheirRange) {
  expectStrepRoundTrip(std::numeric_limits<std::int32_t>::min());
  expectStrepRoundTrip(std::numeric_limits<std::uint64_t>::max());
  expectStrepRoundTrip(std::uint8_t{255});
  EXPECT_EQ(strepError<std::uint8_t>("256"), "expected a number of at most 8 bits at column 0");
  EXPECT_EQ(strepError<std::uint32_t>(" -1"), "expected an unsigned decimal number at column 1");
  EXPECT_EQ(strepError<std::int32_t>("x"), "expected a decimal number at column 0");
  EXPECT_EQ(strepError<std::int32_t>("0x10"), "junk at column 1 deserializing int");
}

TEST(Strep, malformedQuotesSayWhere) {
  struct Refused {
    std::string_view text;
    std::string_view error;
  };
  for (Refused const& row : {
           Refused{"", "expected a quoted string at column 0"},
           {"  eth0", "expected a quoted string at column 2"},
           {"'eth0", "expected a closing quote at column 5"},
           {"'a\\", "expected an escape (\\\\, \\' or \\xHH) at column 2"},
           {"'a\\n'", "expected an escape (\\\\, \\' or \\xHH) at column 2"},
           {"'\\x4'", "expected an escape (\\\\, \\' or \\xHH) at column 1"},
           {"'\\x4", "expected an escape (\\\\, \\' or \\xHH) at column 1"},
       }) {
    EXPECT_EQ(strepError<String8>(row.text), row.error) << row.text;
    char const* from = row.text.data();
    EXPECT_THROW(Mav::parsedStrep<String8>(from, from + row.text.size()), Mav::RangeException);
    EXPECT_EQ(from, row.text.data()) << "a failed parse moved the iterator";
  }
}

}  // namespace

namespace Weather {

MAV_ENUM(Wind, (windNone, 0), (windBreeze, 2), (windUnset, -1))

namespace {

TEST(Enumeration, printsNamesAndNumbersAndParsesNamesAlone) {
  for (Mav::Enumerator const& e : WindEnumerators) expectStrepRoundTrip(static_cast<Wind>(e.value));
  EXPECT_EQ(shown(windUnset), "windUnset");
  EXPECT_EQ(valueToStrep(windBreeze), "'windBreeze'");
  EXPECT_EQ(valueToStrep(static_cast<Wind>(-7)), "'Wind(-7)'");
  EXPECT_EQ(strepError<Wind>("'Wind(1)'"), "Wind");
  EXPECT_EQ(strepError<Wind>("windNone"), "expected a quoted string at column 0");
  EXPECT_EQ(strepError<Wind>("'windNone',"), "junk at column 10 deserializing Weather::Wind");
}

TEST(Enumeration, instancesComeFromKnownNumbersAndExactNames) {
  EXPECT_EQ(WindInstance(2U), windBreeze);
  EXPECT_EQ(WindInstance(0xffffffffU), windUnset);
  EXPECT_EQ(WindInstance(std::string("windNone")), windNone);
  EXPECT_EQ(rangeError([] { return WindInstance(1U); }), "Wind");
  for (std::string const name : {"windbreeze", "windBreez", "windBreeze ", "", "Wind(2)", "2"}) {
    EXPECT_EQ(rangeError([&] { return WindInstance(name); }), "Wind") << name;
  }
}

}  // namespace
}  // namespace Weather
