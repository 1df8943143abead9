#include "kelbase/ctl_load_batch.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/kelbase/ctl_samples.h"

namespace Kelbase::Ctl {
namespace {

using Pondo::Family;

LoadBatch::Links::mapped_type link(std::int32_t ifIndex, bool adminUp, bool operUp) {
  return {.ifIndex = ifIndex, .adminUp = adminUp, .operUp = operUp};
}

class LoadBatchTest : public ::testing::Test {
 protected:
  void read(std::string const& text, std::string_view file = "f.json") {
    std::istringstream in(text);
    batch_.read(in, file);
  }

  LoadBatch batch_;
};

TEST_F(LoadBatchTest, LinksHaveTheirIndexAndBothStates) {
  read(Samples::links);
  batch_.check();
  EXPECT_EQ(batch_.links(), (LoadBatch::Links{{Dovel::IntfId("lo"), link(1, true, true)},
                                              {Dovel::IntfId("v0"), link(3, true, false)},
                                              {Dovel::IntfId("v1"), link(2, false, false)}}));
  EXPECT_TRUE(batch_.forwarding().empty());
}

TEST_F(LoadBatchTest, AddressesTellTheirLinksAndFilteredEntriesAreSkipped) {
  read(Samples::addressesUp);
  EXPECT_EQ(batch_.links(), (LoadBatch::Links{{Dovel::IntfId("lo"), link(1, true, true)},
                                              {Dovel::IntfId("v0"), link(3, true, false)}}));
  EXPECT_EQ(batch_.addresses4().size(), 1U);
}

TEST_F(LoadBatchTest, NetconfTellsTheVersionsInItAlone) {
  read(Samples::netconf4);
  batch_.check();
  EXPECT_FALSE(batch_.tellsLinks());
  EXPECT_EQ(batch_.forwarding(), (LoadBatch::Forwarding{{Family::ipv4, {.routing = true}}}));
  read(Samples::netconf6);
  EXPECT_EQ(batch_.forwarding(), (LoadBatch::Forwarding{{Family::ipv4, {.routing = true}},
                                                        {Family::ipv6, {.routing = false}}}));
}

TEST_F(LoadBatchTest, JoinedAndAgreeingFilesAddUp) {
  read(std::string(Samples::netconf6) + Samples::links + "\n" + Samples::netconf4);
  read(Samples::addressesUp, "again.json");
  batch_.check();
  EXPECT_EQ(batch_.links().size(), 3U);
  EXPECT_EQ(batch_.forwarding().size(), 2U);
}

TEST_F(LoadBatchTest, AFileLongerThanABufferKeepsItsLines) {
  std::string text = "[";
  for (int i = 1; i <= 5000; ++i) {
    text += (i > 1 ? ",\n" : "\n") + std::string(R"({"ifname":"e)") + std::to_string(i) +
            R"(","ifindex":)" + (i == 4711 ? "0" : std::to_string(i)) + R"(,"flags":[]})";
  }
  try {
    read(text + "\n]");
    FAIL() << "not refused";
  } catch (LoadException const& e) {
    EXPECT_STREQ(e.what(),
                 "f.json:4712: ifindex: expected a whole number from 1 to 2147483647, got 0");
  }
}

struct BadFile {
  std::string text;
  char const* error;
};

constexpr char const* known =
    "known are the outputs of 'ip -json address', 'ip -json link', 'ip -json netconf', "
    "'ip -json -details route', 'ip -json nexthop'";

class BadFileTest : public LoadBatchTest, public ::testing::WithParamInterface<BadFile> {};

TEST_P(BadFileTest, IsRefusedNamingFileLineAndField) {
  try {
    read(GetParam().text);
    batch_.check();
    FAIL() << "not refused: " << GetParam().text;
  } catch (LoadException const& e) {
    std::string expected = GetParam().error;
    if (auto const at = expected.find("KNOWN"); at != expected.npos) {
      expected.replace(at, 5, known);
    }
    EXPECT_EQ(e.what(), expected);
  }
}

std::string withAddress(std::string const& fields) {
  return R"([{"ifindex":3,"ifname":"a","flags":[],"link_type":"ether","addr_info":[
{"family":"inet",)" +
         fields + "}]}]";
}

INSTANTIATE_TEST_SUITE_P(
    Addresses, BadFileTest,
    ::testing::Values(
        BadFile{withAddress(R"("local":"10.0.0","prefixlen":8)"),
                R"(f.json:2: local: expected an IPv4 address, got "10.0.0")"},
        BadFile{
            withAddress(R"("local":"0.0.0.0","prefixlen":8)"),
            R"(f.json:2: local: expected an address that an interface can have, got "0.0.0.0")"},
        BadFile{withAddress(R"("local":"10.0.0.1","prefixlen":33)"),
                "f.json:2: prefixlen: expected a whole number from 0 to 32, got 33"},
        BadFile{withAddress(R"("local":"10.0.0.1","prefixlen":8,"label":"a-label-of-sixtn")"),
                R"(f.json:2: label: expected a label of at most 15 bytes, got "a-label-of-sixtn")"},
        BadFile{withAddress(R"("local":"10.0.0.1","prefixlen":8},
{"family":"inet","local":"10.0.0.1","prefixlen":8,"secondary":true)"),
                R"(f.json:3: local: 10.0.0.1 of "a" was told otherwise before)"}));

INSTANTIATE_TEST_SUITE_P(
    Form, BadFileTest,
    ::testing::Values(
        BadFile{"", "f.json: holds nothing to load; KNOWN"},
        BadFile{"[]\n[ ]\n", "f.json: holds nothing to load; KNOWN"},
        BadFile{"[{},{}]", "f.json: holds nothing to load; KNOWN"},
        BadFile{"{\"ifindex\":1}",
                "f.json:1: expected an array, as 'ip -json' prints it, got an object"},
        BadFile{"\n\"x\"", "f.json:2: expected an array, as 'ip -json' prints it, got \"x\""},
        BadFile{"[\n1\n]", "f.json:2: expected an object in the array, got 1"},
        BadFile{"[\n[]]", "f.json:2: expected an object in the array, got an array"},
        BadFile{"1: lo: <LOOPBACK,UP>",
                "f.json:1: expected an array, as 'ip -json' prints it, got 1"},
        BadFile{"inet all forwarding on",
                "f.json:1: not JSON as 'ip -json' prints it: syntax error while parsing value - "
                "invalid literal; last read: 'i'"},
        BadFile{"[{\"ifname\":\"lo\",\n\"ifindex\"",
                "f.json:2: not JSON as 'ip -json' prints it: syntax error while parsing object "
                "separator - unexpected end of input; expected ':'"},
        BadFile{"[\n{\"user\":\"default\",\"gateway\":\"10.0.0.1\"}]",
                "f.json:2: of no known kind; KNOWN"}));

INSTANTIATE_TEST_SUITE_P(
    Links, BadFileTest,
    ::testing::Values(
        BadFile{R"([{"ifname":"a","flags":["UP"],
                     "ifindex":"x"}])",
                "f.json:2: ifindex: expected a whole number from 1 to 2147483647, got \"x\""},
        BadFile{"[{\"ifname\":\"a\",\"flags\":[],\n\"ifindex\":2147483648\n}]",
                "f.json:2: ifindex: expected a whole number from 1 to 2147483647, got 2147483648"},
        BadFile{R"([{"ifname":"a","flags":[],"ifindex":99999999999999999999}])",
                "f.json:1: ifindex: expected a whole number from 1 to 2147483647, got "
                "99999999999999999999"},
        BadFile{R"([{"ifname":"a","flags":[],"ifindex":1.5}])",
                "f.json:1: ifindex: expected a whole number from 1 to 2147483647, got 1.5"},
        BadFile{"[\n{\"ifname\":\"a\",\n\"flags\":[]}]", "f.json:2: ifindex: missing"},
        BadFile{R"([{"ifname":"a","flags":[],"ifindex":1},
                    {"flags":[],"ifindex":2}])",
                "f.json:2: ifname: missing"},
        BadFile{R"([{"ifname":"a/b","flags":[],"ifindex":1}])",
                "f.json:1: ifname: expected an interface name of 1 to 15 bytes without '/', ':' or "
                "white space, got \"a/b\""},
        BadFile{R"([{"ifname":"a234567890123456","flags":[],"ifindex":1}])",
                "f.json:1: ifname: expected an interface name of 1 to 15 bytes without '/', ':' or "
                "white space, got \"a234567890123456\""},
        BadFile{R"([{"ifname":"a\u0000","flags":[],"ifindex":1}])",
                "f.json:1: ifname: expected an interface name of 1 to 15 bytes without '/', ':' or "
                "white space, got \"a\\u0000\""},
        BadFile{R"([{"ifname":"a","ifindex":1}])", "f.json:1: flags: missing"},
        BadFile{R"([{"ifname":"a","flags":"UP","ifindex":1}])",
                "f.json:1: flags: expected an array of names, got \"UP\""},
        BadFile{R"([{"ifname":"a","flags":[{}],"ifindex":1}])",
                "f.json:1: flags: expected an array of names, got an object in it"},
        BadFile{R"([{"ifname":"a","flags":[],"ifindex":1},
                    {"ifname":"a","flags":["UP"],"ifindex":1}])",
                "f.json:2: ifname: \"a\" was told otherwise at f.json:1"},
        BadFile{R"([{"ifname":"a","flags":[],"ifindex":1},
                    {"ifname":"b","flags":[],"ifindex":1}])",
                "f.json:2: ifindex: 1 is the index of \"a\" at f.json:1"},
        BadFile{Samples::addresses4,
                "f.json:1: link_type: missing: 'ip -4 address' and 'ip -6 address' leave links "
                "out; load the output of 'ip -json address'"}));

INSTANTIATE_TEST_SUITE_P(
    Netconf, BadFileTest,
    ::testing::Values(
        BadFile{R"([{"interface":"all","forwarding":true}])", "f.json:1: family: missing"},
        BadFile{R"([{"family":"ipx","interface":"all","forwarding":true}])",
                "f.json:1: family: expected \"inet\", \"inet6\" or \"mpls\", got \"ipx\""},
        BadFile{R"([{"family":"inet","interface":["all"],"forwarding":true}])",
                "f.json:1: interface: expected the name of an interface, got an array"},
        BadFile{R"([{"family":"inet","interface":"lo",
                     "forwarding":"on"}])",
                "f.json:2: forwarding: expected true or false, got \"on\""},
        BadFile{R"([{"family":"inet","interface":"lo","forwarding":true},
                    {"family":"inet6","interface":"all","forwarding":true}])",
                "f.json:1: interface: no object for \"all\" of family \"inet\" (made by 'ip "
                "netconf show dev'?)"},
        BadFile{R"([{"family":"mpls","interface":"lo","input":false}])",
                "f.json: holds nothing to load; KNOWN"},
        BadFile{R"([{"family":"inet","interface":"all","forwarding":true},
                    {"family":"inet","interface":"all","forwarding":false}])",
                "f.json:2: forwarding: was told otherwise at f.json:1"}));

INSTANTIATE_TEST_SUITE_P(
    Routes, BadFileTest,
    ::testing::Values(
        BadFile{R"([{"dst":"10.0.0.1/8","dev":"a"}])",
                R"(f.json:1: dst: expected an IPv4 prefix or "default", got "10.0.0.1/8")"},
        BadFile{R"([{"dst":"10.0.0.0/33","dev":"a"}])",
                R"(f.json:1: dst: expected an IPv4 prefix or "default", got "10.0.0.0/33")"},
        BadFile{R"([{"dst":7,"dev":"a"}])", "f.json:1: dst: expected a prefix, got 7"},
        BadFile{"[{\"dst\":\"default\",\n\"gateway\":\"10.0.0\"}]",
                R"(f.json:2: gateway: expected an IPv4 address, got "10.0.0")"},
        BadFile{R"([{"dst":"default","metric":1,"flags":[]}])",
                "f.json:1: dev: missing, and no gateway, nexthops or nhid either"},
        BadFile{R"([{"dst":"default","metric":4294967296,"dev":"a"}])",
                "f.json:1: metric: expected a whole number from 0 to 4294967295, got 4294967296"},
        BadFile{R"([{"dst":"default","nexthops":[{"weight":1}]}])",
                "f.json:1: dev: missing, and no gateway either"},
        BadFile{R"([{"dst":"default","nhid":0}])",
                "f.json:1: nhid: expected a whole number from 1 to 4294967295, got 0"},
        BadFile{R"([{"dst":"1.0.0.0/8","nhid":7,"dev":"a"},
                    {"dst":"2.0.0.0/8","nhid":7,"dev":"b"}])",
                "f.json:2: nhid: the next hops of 7 were told otherwise at f.json:1"},
        BadFile{R"([{"id":7,"scope":"link"}])",
                "f.json:1: dev: missing, and no gateway, group or blackhole either"},
        BadFile{R"([{"id":7,"dev":"a"},
                    {"id":7,"dev":"b"}])",
                "f.json:2: id: 7 was told otherwise at f.json:1"},
        BadFile{R"([{"id":7,"dev":"a"}])",
                "f.json:1: id: nexthop objects without routes; load the output of 'ip -json "
                "-details route' too"}));

TEST_F(LoadBatchTest, RoutesNeedTheirLinksAndNexthopObjects) {
  LoadBatch::Links const links{{Dovel::IntfId("a"), link(1, true, true)}};
  auto const error = [&](std::string const& text) -> std::string {
    batch_ = LoadBatch();
    read(text);
    batch_.check();
    try {
      batch_.fib(links);
      return "none";
    } catch (LoadException const& e) {
      return e.what();
    }
  };
  EXPECT_EQ(error(R"([{"dst":"default","dev":"a"}])"), "none");
  EXPECT_EQ(error("[{\"dst\":\"default\",\n\"dev\":\"b\"}]"),
            "f.json:2: dev: no link \"b\" is known; load the output of 'ip -json link' too");
  EXPECT_EQ(error(R"([{"dst":"default","nhid":7}])"),
            "f.json:1: nhid: no nexthop object 7 in the files; load the output of 'ip -json "
            "nexthop' too");
  EXPECT_EQ(error(R"([{"dst":"default","nhid":7}][{"id":7,"group":[{"id":8}]}])"),
            "f.json:1: group: no nexthop object 8 in the files");
}

TEST_F(LoadBatchTest, ARouteIsTheOneThatTheKernelUses) {
  read(R"([{"dst":"1.0.0.0/8","dev":"a","metric":9,"protocol":"bgp"},
           {"dst":"1.0.0.0/8","dev":"a","metric":5,"protocol":"ospf","tos":"0x10"},
           {"dst":"1.0.0.0/8","dev":"a","metric":5,"protocol":"static"},
           {"dst":"1.0.0.0/8","dev":"a","metric":5,"protocol":"rip"}])");
  auto const fib = batch_.fib({{Dovel::IntfId("a"), link(4, true, true)}});
  ASSERT_EQ(fib.routes.size(), 1U);
  EXPECT_EQ(fib.routes.front().second.routeType, Routing::Fib::routeTypeStatic);
  EXPECT_EQ(fib.routes.front().second.metric.value(), 5U);
  EXPECT_EQ(fib.fecs.at(fib.routes.front().second.fecId).vias,
            (std::vector<Pondo::Fib::Via>{{{}, Dovel::IntfId("a"), 4}}));
}

TEST_F(LoadBatchTest, ASetOfNextHopsIsCutWhereAFecEnds) {
  std::string hops;
  for (int i = 0; i < 130; ++i) {
    hops += (i > 0 ? R"(,{"gateway":"10.0.0.)" : R"({"gateway":"10.0.0.)") + std::to_string(i + 1) +
            R"(","dev":"a"})";
  }
  read(R"([{"dst":"default","nexthops":[)" + hops + "]}]");
  auto const fib = batch_.fib({{Dovel::IntfId("a"), link(4, true, true)}});
  ASSERT_EQ(fib.fecs.size(), 1U);
  EXPECT_EQ(fib.fecs.begin()->second.vias.size(), Pondo::Fib::viasMax);
}

TEST_F(LoadBatchTest, NestingIsBounded) {
  std::string const text = R"([{"ifname":)" + std::string(1'000'000, '[');
  EXPECT_THROW(read(text), LoadException);
}

}  // namespace
}  // namespace Kelbase::Ctl
