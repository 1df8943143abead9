// Routes and fecs: loaded, made up and shown.

#include <gmock/gmock.h>

#include "tests/kelbase/ctl_fixture.h"
#include "tests/kelbase/ctl_samples.h"

namespace Kelbase::Ctl {
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class CtlRoutesTest : public CtlFixture {
 protected:
  /// "1.2.3.0/24 static 0 1: 10.0.0.2 eth0, 10.0.1.2 eth1", a line a route.
  std::vector<std::string> shownRoutes(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"--json", "show", "routes"});
    ctl(arguments);
    std::vector<std::string> lines;
    for (json const& route : outJson()) {
      std::string line = route["prefix"].get<std::string>() + " " +
                         route["type"].get<std::string>() + " " + route["metric"].dump() + " " +
                         route["preference"].dump() + ":";
      for (json const& hop : route["nextHops"]) {
        line += " [" + hop["nextHop"].get<std::string>() + " " +
                hop["interface"].get<std::string>() + "]";
      }
      lines.push_back(line);
    }
    return lines;
  }
};

TEST_F(CtlRoutesTest, EachKindOfRouteIsLoaded) {
  ASSERT_EQ(ctl({"load", file("r.json", Samples::routes), file("l.json", Samples::routeLinks)}),
            exitOk)
      << err();
  EXPECT_THAT(out(), HasSubstr("fecs: 9 added, 0 changed, 0 removed, 0 unchanged\n"
                               "routes: 15 added, 0 changed, 0 removed, 0 unchanged\n"));
  auto const shown = shownRoutes();
  EXPECT_EQ(shown,
            (std::vector<std::string>{
                "0.0.0.0/0 bgp 20 20: [10.0.0.2 eth0]",
                "1.2.3.0/24 static 0 1: [10.0.0.2 eth0] "
                "[10.0.1.2 eth1]",
                "1.2.3.4/32 static 0 1: [10.0.0.2 eth0]", "2.0.0.0/8 static 0 1: [10.0.0.3 eth0]",
                "3.0.0.0/8 static 0 1: [10.0.0.3 eth0] [ eth1]",
                "4.0.0.0/8 blackhole 0 1:", "5.0.0.0/8 static 0 1: [fe80::1 eth0] [fe80::2 eth1]",
                "6.0.0.0/8 static 0 1: [fe80::9 eth0]", "6.1.0.0/16 ospf 0 110: [fe80::9 eth0]",
                "7.0.0.0/8 blackhole 0 1:", "8.0.0.0/8 unreachable 9 1:",
                "9.0.0.0/8 other 0 255: [10.0.0.9 eth0]", "10.0.0.0/24 connected 0 0: [ eth0]",
                "10.0.1.0/24 connected 0 0: [ eth1]", "fe80::/64%3 connected 256 0: [ eth0]"}));
  // The objects say the same as the routes that name them; the other sets keep their numbers.
  ASSERT_EQ(ctl({"load", file("n.json", Samples::nexthops), file("r.json", Samples::routes)}),
            exitOk)
      << err();
  EXPECT_THAT(out(), HasSubstr("routes: 0 added, 3 changed, 0 removed, 12 unchanged\n"));
  EXPECT_EQ(shownRoutes(), shown);
}

TEST_F(CtlRoutesTest, ALinkThatComesBackWithAnotherIndexChangesItsFecs) {
  constexpr char const* route = R"([{"dst":"default","dev":"a"}])";
  ASSERT_EQ(ctl({"load", file("l.json", R"([{"ifname":"a","ifindex":3,"flags":[]}])"),
                 file("r.json", route)}),
            exitOk);
  ASSERT_EQ(ctl({"load", file("l.json", R"([{"ifname":"a","ifindex":9,"flags":[]}])")}), exitOk);
  // With the index of the new link the route is what it was.
  ASSERT_EQ(ctl({"load", file("r.json", route)}), exitOk);
  EXPECT_THAT(out(), HasSubstr("fecs: 0 added, 0 changed, 0 removed, 1 unchanged\n"));
}

TEST_F(CtlRoutesTest, QuestionsOfOneAddressAndOfOnePrefix) {
  ASSERT_EQ(ctl({"load", "-"}, std::string(Samples::routes) + Samples::routeLinks), exitOk);
  EXPECT_THAT(shownRoutes({"--to", "1.2.3.4"}), ElementsAre(StartsWith("1.2.3.4/32 ")));
  EXPECT_THAT(shownRoutes({"--to", "1.2.3.5"}), ElementsAre(StartsWith("1.2.3.0/24 ")));
  EXPECT_THAT(shownRoutes({"--to", "200.0.0.1"}), ElementsAre(StartsWith("0.0.0.0/0 ")));
  EXPECT_THAT(shownRoutes({"--within", "1.2.0.0/16"}),
              ElementsAre(StartsWith("1.2.3.0/24 "), StartsWith("1.2.3.4/32 ")));
  EXPECT_THAT(shownRoutes({"--within", "6.0.0.0/8"}),
              ElementsAre(StartsWith("6.0.0.0/8 "), StartsWith("6.1.0.0/16 ")));
  EXPECT_EQ(shownRoutes({"--within", "0.0.0.0/0"}).size(), 14U);
  EXPECT_EQ(ctl({"show", "routes", "--within", "77.0.0.0/8"}), exitError);
  EXPECT_EQ(err(), "kelbasectl: no route within 77.0.0.0/8\n");
  ASSERT_EQ(ctl({"load", "-"}, R"([{"dst":"7.0.0.0/8","type":"blackhole"}])"), exitOk);
  EXPECT_EQ(ctl({"show", "routes", "--to", "8.8.8.8"}), exitError);
  EXPECT_EQ(err(), "kelbasectl: no route to 8.8.8.8\n");
}

TEST_F(CtlRoutesTest, ALongSetIsCutWhereAFecEndsAndToldWholeOfFecsAlone) {
  std::string hops;
  for (int i = 1; i <= 130; ++i) {
    hops += (i > 1 ? R"(,{"gateway":"10.0.0.)" : R"({"gateway":"10.0.0.)") + std::to_string(i) +
            R"(","dev":"a"})";
  }
  ASSERT_EQ(ctl({"load", "-"}, R"([{"ifname":"a","ifindex":3,"flags":[]}])"
                               R"([{"dst":"default","nexthops":[)" +
                                   hops + "]}]"),
            exitOk)
      << err();
  ctl({"show", "routes"});
  EXPECT_THAT(out(), EndsWith("via 10.0.0.4 dev a and 124 more\n"));
  ctl({"show", "fecs"});
  EXPECT_THAT(out(), AllOf(HasSubstr("\nown   "), EndsWith("via 10.0.0.128 dev a\n")));
}

}  // namespace
}  // namespace Kelbase::Ctl
