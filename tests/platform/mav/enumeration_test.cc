#include "platform/mav/enumeration.h"

#include <gtest/gtest.h>

#include "tests/support/strep_checks.h"

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

TEST(Enumeration, comparesSigned) { EXPECT_LT(windUnset, windNone); }

}  // namespace
}  // namespace Weather
