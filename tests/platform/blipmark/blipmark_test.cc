#include "platform/blipmark/blipmark.h"

#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

namespace {

std::uint64_t time = 0;

class BlipmarkTest : public testing::Test {
 protected:
  BlipmarkTest() {
    Blipmark::clockIs([] { return time; });
    Blipmark::enabledIs(true);
  }
  ~BlipmarkTest() override {
    Blipmark::reset();
    Blipmark::enabledIs(false);
    Blipmark::clockIs(nullptr);
  }

  void spend(char const* name, std::uint64_t nanoseconds) {
    Blipmark::Timer const blip(name);
    time += nanoseconds;
  }
};

TEST_F(BlipmarkTest, countsTotalsAndMaximaByNameOfNestedAndThrowingCallsToo) {
  spend("f()", 1'000);
  try {
    Blipmark::Timer const outer("g()");
    spend("f()", 3'000);
    time += 7'000;
    throw std::runtime_error("end");
  } catch (std::runtime_error const&) {
  }

  std::ostringstream out;
  Blipmark::report(out);
  EXPECT_EQ(out.str(),
            "     count       total us      mean us   maximum us  name\n"
            "         1         10.000       10.000       10.000  g()\n"
            "         2          4.000        2.000        3.000  f()\n");
}

}  // namespace
