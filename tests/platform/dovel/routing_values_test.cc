#include "platform/dovel/routing_values.h"

#include <gtest/gtest.h>

#include "tests/support/strep_checks.h"

namespace Routing {
namespace {

static_assert(!std::is_convertible_v<std::uint32_t, RouteMetric>);

TEST(RoutingValues, areNumbersOfTheirOwn) {
  expectRising<RouteMetric>({RouteMetric(), RouteMetric(20), RouteMetric(0xffffffffU)});
  EXPECT_EQ(shown(RoutePreference(65)), "65");
  expectStrepRoundTrip(RouteMetric(4294967295U));
  EXPECT_EQ(strepError<RoutePreference>("256"), "expected a number of at most 8 bits at column 0");
}

// The numbers are shared with publishers of other versions.
TEST(RoutingValues, routeTypesKeepTheirNumbers) {
  EXPECT_EQ(Fib::RouteTypeInstance(4U), Fib::routeTypeStatic);
  EXPECT_EQ(Fib::RouteTypeInstance(6U), Fib::routeTypeRip);
  EXPECT_EQ(Fib::RouteTypeInstance(7U), Fib::routeTypeConnected);
  EXPECT_EQ(Fib::RouteTypeInstance(11U), Fib::routeTypeOspf);
  EXPECT_EQ(Fib::RouteTypeInstance(16U), Fib::routeTypeOspfNssaExternal2);
  EXPECT_EQ(Fib::RouteTypeInstance(17U), Fib::routeTypeBgp);
  EXPECT_EQ(Fib::RouteTypeInstance(18U), Fib::routeTypeInternalBgp);
  for (auto const unserved : {Fib::routeTypeUnknown, Fib::routeTypeBlackhole,
                              Fib::routeTypeUnreachable, Fib::routeTypeProhibit}) {
    EXPECT_LE(unserved, 3);
  }
  EXPECT_EQ(rangeError([] { return Fib::RouteTypeInstance(20U); }), "RouteType");
}

}  // namespace
}  // namespace Routing
