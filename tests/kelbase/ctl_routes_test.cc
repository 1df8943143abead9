// Routes and fecs: loaded, made up and shown.

#include <map>
#include <set>
#include <sstream>

#include <gmock/gmock.h>

#include "kelbase/ctl/generated_table.h"
#include "tests/kelbase/ctl_fixture.h"
#include "tests/kelbase/ctl_samples.h"

namespace Kelbase::Ctl {
namespace {

using nlohmann::json;
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

  std::vector<std::string> batchLines(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"generate", "--batch"});
    EXPECT_EQ(ctl(arguments), exitOk) << err();
    std::vector<std::string> lines;
    std::istringstream in(out());
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }
};

TEST_F(CtlRoutesTest, EachKindOfRouteIsLoaded) {
  ASSERT_EQ(ctl({"load", file("r.json", Samples::routes), file("l.json", Samples::routeLinks)}),
            exitOk)
      << err();
  EXPECT_THAT(out(), HasSubstr("routes: 14 added, 0 changed, 0 removed, 0 unchanged\n"
                               "fecs: 8 added, 0 changed, 0 removed, 0 unchanged\n"));
  auto const shown = shownRoutes();
  EXPECT_EQ(shown,
            (std::vector<std::string>{
                "0.0.0.0/0 bgp 20 20: [10.0.0.2 eth0]",
                "1.2.3.0/24 static 0 1: [10.0.0.2 eth0] "
                "[10.0.1.2 eth1]",
                "1.2.3.4/32 static 0 1: [10.0.0.2 eth0]", "2.0.0.0/8 static 0 1: [10.0.0.3 eth0]",
                "3.0.0.0/8 static 0 1: [10.0.0.3 eth0] [ eth1]", "4.0.0.0/8 blackhole 0 1:",
                "5.0.0.0/8 static 0 1: [ eth0] [ eth1]", "6.0.0.0/8 static 0 1: [ eth0]",
                "6.1.0.0/16 ospf 0 110: [ eth0]", "7.0.0.0/8 blackhole 0 1:",
                "8.0.0.0/8 unreachable 9 1:", "9.0.0.0/8 other 0 255: [10.0.0.9 eth0]",
                "10.0.0.0/24 connected 0 0: [ eth0]", "10.0.1.0/24 connected 0 0: [ eth1]"}));
  // The objects say the same as the routes that name them; equal sets keep their ids.
  ASSERT_EQ(ctl({"load", file("n.json", Samples::nexthops), file("r.json", Samples::routes)}),
            exitOk)
      << err();
  EXPECT_THAT(out(), HasSubstr("routes: 0 added, 0 changed, 0 removed, 14 unchanged\n"
                               "fecs: 0 added, 0 changed, 0 removed, 8 unchanged\n"));
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
  EXPECT_THAT(out(), EndsWith("via 10.0.0.128 dev a\n"));
}

TEST_F(CtlRoutesTest, AGeneratedTableReplacesAnotherAndIsTheSameForASeed) {
  ASSERT_EQ(ctl({"generate", "--routes", "3000", "--seed", "5"}), exitOk) << err();
  EXPECT_EQ(out(),
            "links: 5 added, 0 changed, 0 removed, 0 unchanged\n"
            "addresses: 5 added, 0 changed, 0 removed, 0 unchanged\n"
            "routes: 3004 added, 0 changed, 0 removed, 0 unchanged\n"
            "fecs: 40 added, 0 changed, 0 removed, 0 unchanged\n");
  auto const first = shownRoutes();
  ASSERT_EQ(ctl({"--json", "generate", "--routes", "2000", "--seed", "6"}), exitOk);
  EXPECT_EQ(outJson()["tables"][2]["name"], "routes");
  EXPECT_EQ(shownRoutes().size(), 2004U);
  ASSERT_EQ(ctl({"generate", "--routes", "3000", "--seed", "5"}), exitOk);
  EXPECT_EQ(shownRoutes(), first);
}

TEST_F(CtlRoutesTest, TheBatchMakesTheSameRoutes) {
  ASSERT_EQ(ctl({"generate", "--routes", "1500", "--seed", "5"}), exitOk) << err();
  std::set<std::string> shown;
  for (json const& route : (ctl({"--json", "show", "routes"}), outJson())) {
    if (route["type"] != "bgp") continue;
    shown.insert("route add " + route["prefix"].get<std::string>() + " via " +
                 route["nextHops"][0]["nextHop"].get<std::string>() + " dev " +
                 route["nextHops"][0]["interface"].get<std::string>() + " proto bgp metric 20");
  }
  auto const routes = batchLines({"--routes", "1500", "--seed", "5", "--routes-only"});
  EXPECT_EQ(std::set(routes.begin(), routes.end()), shown);
  auto const all = batchLines({"--routes", "1500", "--seed", "5"});
  ASSERT_EQ(all.size(), routes.size() + 4 * GeneratedTable::linkCount);
  EXPECT_EQ(all[0], "link add gen0 type veth peer name gen0-far");
  EXPECT_EQ(all[3], "address add 198.18.0.1/24 dev gen0");
}

TEST(GeneratedTableTest, HasTheShapeOfTheInternetsTable) {
  constexpr std::size_t count = 100'000;
  GeneratedTable const table(count, 1);
  std::map<unsigned, std::size_t> lengths;
  std::map<std::uint64_t, std::size_t> fecs;
  Dovel::Prefix const* last = nullptr;
  for (auto const& [prefix, route] : table.routes()) {
    ASSERT_TRUE(last == nullptr || *last < prefix) << prefix;
    last = &prefix;
    if (route.routeType != Routing::Fib::routeTypeBgp) continue;
    ++lengths[prefix.length()];
    ++fecs[route.fecId.value()];
    unsigned const octet = prefix.address().octets()[0];
    ASSERT_TRUE(octet > 0 && octet < 224 && octet != 10 && octet != 127) << prefix;
  }
  auto const share = [&](unsigned length) {
    return static_cast<double>(lengths[length]) / static_cast<double>(count);
  };
  for (auto const& [length, expected] :
       std::map<unsigned, double>{{24, 0.60}, {23, 0.09}, {22, 0.11}, {21, 0.05}, {20, 0.045}}) {
    EXPECT_NEAR(share(length), expected, 0.001) << length;
  }
  for (unsigned length = 9; length <= 20; ++length) EXPECT_GT(share(length), share(length - 1));
  EXPECT_EQ(lengths.begin()->first, 8U);
  EXPECT_EQ(lengths.rbegin()->first, 24U);
  EXPECT_EQ(fecs.size(), GeneratedTable::nextHopCount);
  for (auto const& [fecId, routes] : fecs) {
    EXPECT_GT(routes, count / GeneratedTable::nextHopCount / 2) << fecId;
  }
}

}  // namespace
}  // namespace Kelbase::Ctl
