#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kelbase/ctl/load_batch.h"

namespace Kelbase::Ctl {
namespace {

struct BadFile {
  std::string text, error;
};

/// Files, and what they bring into the model of a router whose tables have the link "a".
class LoadBatchTest : public ::testing::Test {
 protected:
  void read(std::string const& text) {
    std::istringstream in(text);
    batch_->read(in, "f.json");
  }
  void finish() {
    if (!batch_->parts().links) kernel_->links.is({.index = 4, .name = Dovel::IntfId("a")});
    batch_->finish();
  }
  /// Why a file is refused.
  std::string error(std::string const& text) {
    batch_.emplace(kernel_.emplace());
    try {
      read(text);
      finish();
      return "none";
    } catch (LoadException const& e) {
      return e.what();
    }
  }
  void expectErrors(std::vector<BadFile> const& files) {
    for (auto const& [text, expected] : files) EXPECT_EQ(error(text), "f.json" + expected) << text;
  }

  std::optional<Kernel> kernel_{std::in_place};
  std::optional<LoadBatch> batch_{std::in_place, *kernel_};
};

TEST_F(LoadBatchTest, AFileLongerThanABufferKeepsItsLines) {
  std::string text = "[";
  for (int i = 1; i <= 5000; ++i) {
    text += (i > 1 ? ",\n" : "\n") + std::string(R"({"ifname":"e)") + std::to_string(i) +
            R"(","ifindex":)" + (i == 4711 ? "0" : std::to_string(i)) + R"(,"flags":[]})";
  }
  EXPECT_EQ(error(text + "\n]"),
            "f.json:4712: ifindex: expected a whole number from 1 to 2147483647, got 0");
}

TEST_F(LoadBatchTest, BadFormIsRefusedNamingFileAndLine) {
  std::string const nothing =
      ": holds nothing to load; known are the outputs of 'ip -json address', 'ip -json link', "
      "'ip -json netconf', 'ip -json neighbour', 'ip -json -details route', 'ip -json nexthop'";
  std::string const form = "not JSON as 'ip -json' prints it: syntax error while parsing ";
  expectErrors({
      {"", nothing},
      {"[\n{\"user\":\"default\"}]", ":2: of no known kind" + nothing.substr(nothing.find(';'))},
      {"[{\"ifname\":\"lo\",\n\"ifindex\"",
       ":2: " + form + "object separator - unexpected end of input; expected ':'"},
  });
}

TEST_F(LoadBatchTest, BadFieldsAreRefusedByName) {
  auto const address = [](std::string const& fields) {
    return R"([{"ifindex":3,"ifname":"a","flags":[],"link_type":"ether","addr_info":[
{"family":"inet",)" +
           fields + "}]}]";
  };
  expectErrors({
      {address(R"("local":"0.0.0.0","prefixlen":8)"),
       R"(:2: local: expected an address that an interface can have, got "0.0.0.0")"},
      {address(R"("local":"10.0.0.1","prefixlen":33)"),
       ":2: prefixlen: expected a whole number from 0 to 32, got 33"},
      {"[\n{\"ifname\":\"a\",\n\"flags\":[]}]", ":2: ifindex: missing"},
      {R"([{"ifname":"a/b","flags":[],"ifindex":1}])",
       ":1: ifname: expected an interface name of 1 to 15 bytes without '/', ':' or white space, "
       "got \"a/b\""},
      {R"([{"dst":"10.0.0.1/8","dev":"a"}])",
       R"(:1: dst: expected an IPv4 prefix or "default", got "10.0.0.1/8")"},
      {R"([{"dst":"default","nexthops":[{"weight":1}]}])",
       ":1: dev: missing, and no gateway either"},
  });
}

TEST_F(LoadBatchTest, WhatDoesNotGoTogetherIsRefused) {
  expectErrors({
      {R"([{"ifname":"a","flags":[],"ifindex":1},{"ifname":"a","flags":["UP"],"ifindex":1}])",
       ":1: ifname: \"a\" was told otherwise at f.json:1"},
      {R"([{"ifname":"a","flags":[],"ifindex":1},{"ifname":"b","flags":[],"ifindex":1}])",
       ":1: ifindex: 1 is the index of \"a\" at f.json:1"},
      {R"([{"ifname":"a","flags":[],"ifindex":1,"addr_info":[]}])",
       ":1: link_type: missing: 'ip -4 address' and 'ip -6 address' leave links out; load the "
       "output of 'ip -json address'"},
      {R"([{"family":"inet","interface":"lo","forwarding":true},
           {"family":"inet6","interface":"all","forwarding":true}])",
       ":1: interface: no object for \"all\" of family \"inet\" (made by 'ip netconf show dev'?)"},
      {R"([{"id":7,"dev":"a"}])",
       ":1: id: nexthop objects without routes; load the output of 'ip -json -details route' too"},
      {"[{\"dst\":\"default\",\n\"dev\":\"b\"}]",
       ":2: dev: no link \"b\" is known; load the output of 'ip -json link' too"},
      {R"([{"dst":"default","nhid":7}])",
       ":1: nhid: no nexthop object 7 in the files; load the output of 'ip -json nexthop' too"},
  });
}

TEST_F(LoadBatchTest, NestingIsBounded) {
  std::string const text = R"([{"ifname":)" + std::string(1'000'000, '[');
  EXPECT_THROW(read(text), LoadException);
}

}  // namespace
}  // namespace Kelbase::Ctl
