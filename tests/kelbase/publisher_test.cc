#include "kelbase/publisher.h"

#include <optional>
#include <set>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/pondo/reader.h"
#include "tests/kelbase/namespace_fixture.h"
#include "tests/kelbase/scratch_dir.h"

namespace Kelbase {
namespace {

struct Tables {
  Links links;
  std::map<Pondo::Family, bool> forwarding;
  std::set<std::string> addresses;  // "a 10.0.0.1/24"
  std::uint64_t generation = 0;
};

class PublisherTest : public NamespaceTest {
 protected:
  void start(NetlinkFeed::Options feed = {}) {
    publisher_.emplace(activity_, Publisher::Options{runDir_, {}, feed},
                       Publisher::Hooks{[this] { ++writes_; }, [](auto const&) { FAIL(); }});
    ASSERT_TRUE(turnUntil([this] { return publisher_->published(); }));
  }
  bool told(std::string const& summary) {
    bool const heard = turnUntil(
        [&] { return publisher_->feed().exact() && publisher_->summary().starts_with(summary); });
    activity_.deliver();  // in this turn at the latest it is written
    return heard;
  }

  /// Ends the publisher and reads what it left: an environment is open once in a process.
  Tables stop() {
    publisher_.reset();
    Tables result;
    Pondo::Reader const reader(runDir_);
    auto const snapshot = reader.snapshot();
    snapshot.scan<Pondo::LinkTable>("", Pondo::sliceMax, [&](auto const& name, auto const& record) {
      result.links[name.stringValue()] = record;
    });
    snapshot.scan<Pondo::ForwardingTable>("", 9, [&](auto family, auto const& record) {
      result.forwarding[family] = record.routing;
    });
    snapshot.scan<Pondo::Address4Table>("", Pondo::sliceMax, [&](auto const& key, auto const&) {
      result.addresses.insert(
          fmt::format("{} {}/{}", key.link.name(), key.local.stringValue(), key.length));
    });
    snapshot.scan<Pondo::Address6Table>("", Pondo::sliceMax, [&](auto const& key, auto const& r) {
      result.addresses.insert(fmt::format("{} {}/{}{}", key.link.name(), key.local.stringValue(),
                                          r.length, r.tentative ? " tentative" : ""));
    });
    result.generation = snapshot.generation();
    return result;
  }

  ScratchDir scratch_;
  std::filesystem::path const runDir_ = scratch_ / "run";
  std::optional<Publisher> publisher_;
  int writes_ = 0;
};

TEST_F(PublisherTest, WritesWhatTheKernelSaysAndAfterARestartOnlyTheDifference) {
  ip("link add name east type veth peer name west");
  sysctl("ipv4/ip_forward", 1);
  start();
  auto const first = stop();
  EXPECT_EQ(first.links, kernelLinks());
  EXPECT_EQ(first.forwarding, (std::map<Pondo::Family, bool>{{Pondo::Family::ipv4, true},
                                                             {Pondo::Family::ipv6, false}}));
  start();
  EXPECT_EQ(stop().generation, first.generation);

  ip("link del dev east");
  ip("link add name east type bridge");
  sysctl("ipv6/conf/all/forwarding", 1);
  start();
  auto const second = stop();
  EXPECT_EQ(second.links, kernelLinks());
  EXPECT_TRUE(second.forwarding.at(Pondo::Family::ipv6));
  EXPECT_EQ(second.generation, first.generation + 1);
}

TEST_F(PublisherTest, FollowsChanges) {
  ip("link add name east type veth peer name west");
  start();
  ipBatch("link set dev east name x\nlink set dev west name east\nlink set dev x name west\n");
  ip("link add name br type bridge");
  sysctl("ipv4/ip_forward", 1);
  EXPECT_TRUE(told("4 links, IPv4 forwarding on, IPv6 forwarding off"));
  ip("link del dev br");
  sysctl("ipv4/ip_forward", 0);
  EXPECT_TRUE(told("3 links, IPv4 forwarding off, IPv6 forwarding off"));
  auto const tables = stop();
  EXPECT_EQ(tables.links, kernelLinks());
  EXPECT_FALSE(tables.forwarding.at(Pondo::Family::ipv4));
}

TEST_F(PublisherTest, AddressesComeFollowTheirLinkAndGo) {
  ip("link add name east type veth peer name west");
  ipBatch(
      "address add 10.0.0.1/24 dev east\naddress add 10.0.0.1/0 dev west\n"
      "address add 10.0.0.2/24 dev east label east:x\n"
      "address add 10.0.0.1 peer 10.9.0.1/31 dev east\n");
  start();
  ipBatch(
      "address add 2001:db8::1/64 dev west nodad\naddress add 2001:db8::2/64 dev west\n"
      "address add 10.0.0.3/32 dev east\naddress del 10.0.0.2/24 dev east\n"
      "link set dev east name north\n");
  EXPECT_TRUE(
      told("3 links, IPv4 forwarding off, IPv6 forwarding off, 4 IPv4 addresses, "
           "2 IPv6 addresses"));
  EXPECT_THAT(stop().addresses,
              testing::UnorderedElementsAre(
                  "north 10.0.0.1/24", "north 10.0.0.1/31", "north 10.0.0.3/32", "west 10.0.0.1/0",
                  "west 2001:db8::1/64", "west 2001:db8::2/64 tentative"));
  start();
  ipBatch("link set dev west up\nlink set dev west down\n");
  EXPECT_TRUE(
      told("3 links, IPv4 forwarding off, IPv6 forwarding off, 4 IPv4 addresses, "
           "0 IPv6 addresses"));
  ip("link del dev north");
  EXPECT_TRUE(told("1 link, IPv4 forwarding off, IPv6 forwarding off, 0 IPv4 addresses, "));
  EXPECT_THAT(stop().addresses, testing::IsEmpty());
}

TEST_F(PublisherTest, TheAddressesAreTheKernelsAfterOverruns) {
  ip("link add name east type bridge");
  std::string lines, del;
  for (int i = 0; i < 4000; ++i) {
    auto const address = fmt::format("10.0.{}.{}/32 dev east\n", i / 200, 1 + i % 200);
    lines += "address add " + address;
    if (i % 8 != 0) lines += "address del " + address;
  }
  start({.eventBuffer = 1});
  ipBatch(lines);
  EXPECT_TRUE(told("2 links, IPv4 forwarding off, IPv6 forwarding off, 500 IPv4 addresses, "));
  EXPECT_GE(publisher_->feed().counters().overruns, 1U);
  EXPECT_EQ(stop().addresses.size(), 500U);
}

TEST_F(PublisherTest, TheTablesAreTheKernelsAfterOverruns) {
  std::string lines;
  for (int i = 0; i < 3000; ++i) {
    auto const name = "v" + std::to_string(i % 10);
    if (i < 20) lines += "link add name " + name + std::to_string(i / 10) + " type bridge\n";
    lines += "link set dev " + name + (i % 20 < 10 ? "0 up\n" : "1 up\n");
    if (i >= 20) lines += "link set dev " + name + (i % 20 < 10 ? "1 down\n" : "0 down\n");
    if (i < 10) lines += "link add name " + name + "2 type bridge\n";
  }
  for (int i = 0; i < 10; ++i) lines += "link del dev v" + std::to_string(i) + "2\n";
  lines += "link set dev v90 down\nlink set dev v90 name marker\n";
  start({.eventBuffer = 1});
  ipBatch(lines);
  EXPECT_TRUE(told("21 links, IPv4 forwarding off, IPv6 forwarding off"));
  EXPECT_GE(publisher_->feed().counters().overruns, 1U);
  EXPECT_EQ(stop().links, kernelLinks());
}

TEST_F(PublisherTest, ADeletedRunDirectoryIsFilledAgain) {
  ip("link add name east type bridge");
  start();
  int const before = writes_;
  std::filesystem::remove_all(runDir_);
  EXPECT_TRUE(turnUntil([&] { return writes_ > before; }, 1.0));
  EXPECT_EQ(stop().links, kernelLinks());
}

}  // namespace
}  // namespace Kelbase
