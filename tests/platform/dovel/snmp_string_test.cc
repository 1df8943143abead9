#include "platform/dovel/snmp_string.h"

#include <array>
#include <random>

#include <absl/hash/hash_testing.h>
#include <gtest/gtest.h>

#include "tests/support/strep_checks.h"

namespace Snmp {
namespace {

TEST(String, holdsOctetsOfAnyLength) {
  std::array<std::uint8_t, 4> const octets{10, 0, 255, 'x'};
  String const string(octets);
  EXPECT_EQ(string.size(), 4U);
  EXPECT_EQ(string[2], 255);
  EXPECT_EQ(std::vector(string.begin(), string.end()), std::vector(octets.begin(), octets.end()));
  EXPECT_EQ(shown(string), "\\x0a\\x00\\xffx");
  EXPECT_EQ(valueToStrep(string), "'\\x0a\\x00\\xffx'");
  EXPECT_TRUE(String().empty());
  EXPECT_TRUE(!String());
  EXPECT_FALSE(!string);
}

TEST(String, ordersByLengthThenOctets) {
  using namespace std::string_view_literals;
  expectRising<String>({String(), String("\0"sv), String("z"), String("\xff"), String("\0\0"sv),
                        String("aa"), String("ab"), String("b\0"sv), String("\x7fz"),
                        String("\x80\0"sv), String(std::string(16, 'a')),
                        String(std::string(17, 'A')), String(std::string(17, 'B'))});
}

TEST(String, roundTripsAndHashesAcrossTheInlineSize) {
  std::mt19937 random(3);
  std::vector<String> strings;
  for (std::size_t size = 0; size < 40; ++size) {
    std::string bytes(size, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    strings.emplace_back(bytes);
    EXPECT_EQ(strings.back().bytes(), bytes);
    expectStrepRoundTrip(strings.back());
    String const copy = strings.back();
    EXPECT_EQ(copy, strings.back());
  }
  EXPECT_TRUE(absl::VerifyTypeImplementsAbslHashCorrectly(strings));
}

}  // namespace
}  // namespace Snmp
