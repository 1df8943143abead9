#include "platform/mav/line_thinner.h"

#include <gtest/gtest.h>

namespace {

using Mav::LineThinner;

TEST(LineThinner, ABurstIsCutAndItsRestCounted) {
  LineThinner thinner;
  for (std::uint64_t i = 1; i < LineThinner::burstMax; ++i) EXPECT_EQ(thinner.pass("a", 0.0), "a");
  EXPECT_EQ(thinner.pass("a", 0.0), "a (more like it are left out for 10 s)");
  for (int i = 0; i < 7; ++i) EXPECT_EQ(thinner.pass("a", 9.9), std::nullopt);
  EXPECT_EQ(thinner.pass("b", 9.9), "b");
  EXPECT_EQ(thinner.pass("a", 10.0), "a (7 more like it were left out)");
  EXPECT_EQ(thinner.pass("a", 10.0), "a");
}

TEST(LineThinner, ManyTextsDoNotPileUp) {
  LineThinner thinner;
  for (std::uint64_t i = 0; i < LineThinner::burstMax; ++i) thinner.pass("a", 0.0);
  EXPECT_EQ(thinner.pass("a", 0.0), std::nullopt);
  for (std::size_t i = 0; i < LineThinner::textsMax; ++i) thinner.pass(std::to_string(i), 0.0);
  EXPECT_EQ(thinner.pass("a", 0.0), "a") << "it is still remembered";
}

}  // namespace
