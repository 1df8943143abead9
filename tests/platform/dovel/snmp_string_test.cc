#include "platform/dovel/snmp_string.h"

#include <random>

#include <absl/hash/hash_testing.h>
#include <gtest/gtest.h>

#include "tests/support/strep_checks.h"

namespace Snmp {
namespace {

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
    EXPECT_EQ(strings.back().size(), size);
    expectStrepRoundTrip(strings.back());
    String const copy = strings.back();
    EXPECT_EQ(copy, strings.back());
  }
  EXPECT_TRUE(absl::VerifyTypeImplementsAbslHashCorrectly(strings));
  EXPECT_EQ(shown(String(std::string_view("\n\0\xffx", 4))), "\\x0a\\x00\\xffx");
}

}  // namespace
}  // namespace Snmp
