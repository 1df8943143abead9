// Routes and nexthop objects of a live kernel, published: each scenario before the start, and after
// it.

#include <optional>
#include <regex>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelbase/daemon/kernel_publisher.h"
#include "tests/kelbase/namespace_fixture.h"
#include "tests/kelbase/route_text.h"
#include "tests/kelbase/scratch_dir.h"

namespace Kelbase {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class RoutePublisherTest : public NamespaceTest {
 protected:
  void SetUp() override {
    NamespaceTest::SetUp();
    if (IsSkipped()) return;
    sysctl("ipv6/conf/default/addr_gen_mode", 1);  // none: no addresses that change by themselves
    ip("link add name a type veth peer name ax\nlink add name b type veth peer name bx\n"
       "link set dev lo up\nlink set dev a up\nlink set dev ax up\nlink set dev b up\nlink set "
       "dev bx up\n"
       "address add 10.0.0.1/24 dev a\naddress add 10.0.1.1/24 dev b\n");
  }

  void start(NetlinkFeed::Options feed = {}) {
    publisher_.emplace(activity_, KernelPublisher::Options{runDir_, {}, feed},
                       KernelPublisher::Hooks{[] {}, [](auto const&) { FAIL(); }});
    ASSERT_TRUE(turnUntil([this] { return publisher_->published(); }));
  }

  /// Waits until the publisher has heard of a link that comes now, and of everything before.
  void settle() {
    ip(fmt::format("link add name m{} type bridge", ++markers_));
    auto const heard = fmt::format("{} links", 5 + markers_);
    ASSERT_TRUE(
        turnUntil([&] { return publisher_->summary().starts_with(heard) && publisher_->exact(); }));
  }

  /// What the tables hold, but for the connected routes. Ends the publisher.
  std::vector<std::string> stop() {
    publisher_.reset();
    Pondo::Writer writer(runDir_, {});
    auto rows = RouteText::routes(writer);
    fecs_ = RouteText::fecs(writer).size();
    generation_ = writer.generation();
    std::erase_if(rows, [](auto const& row) { return row.find(" connected ") != row.npos; });
    return rows;
  }

  /// The rows after `lines`: made while a publisher ran, and found by one that starts afterwards
  /// with tables of its own.
  std::vector<std::string> after(std::string const& lines) {
    if (!publisher_) start();
    ip(lines);
    settle();
    auto const followed = stop();
    auto const generation = generation_;
    start();
    stop();
    EXPECT_EQ(generation_, generation) << "a restart wrote something";
    std::filesystem::remove_all(runDir_);
    start();
    EXPECT_EQ(stop(), followed);
    return followed;
  }

  ScratchDir scratch_;
  std::filesystem::path const runDir_ = scratch_ / "run";
  std::optional<KernelPublisher> publisher_;
  int markers_ = 0;
  std::size_t fecs_ = 0;
  std::uint64_t generation_ = 0;
};

TEST_F(RoutePublisherTest, EachPrefixHasTheRouteThatTheKernelUses) {
  EXPECT_THAT(after("route add 10.1.0.0/16 via 10.0.0.2 metric 20\n"
                    "route add 10.1.0.0/16 via 10.0.0.3 metric 10\n"
                    "route add 10.2.0.0/16 via 10.0.0.2\nroute append 10.2.0.0/16 via 10.0.0.3\n"
                    "route prepend 10.2.0.0/16 via 10.0.0.4\nroute replace 10.2.0.0/16 via "
                    "10.0.0.5\nroute add 10.2.0.0/16 via 10.0.0.6 tos 0x10\n"
                    "route add 10.3.0.0/16 via 10.0.0.2\nroute append 10.3.0.0/16 via 10.0.0.3\n"
                    "route append 10.3.0.0/16 via 10.0.0.4\n"
                    "route del 10.3.0.0/16 via 10.0.0.3\nroute del 10.3.0.0/16\n"
                    "route add 10.4.0.0/16 via 10.0.0.2\nroute replace throw 10.4.0.0/16\n"
                    "route add 10.5.0.0/16 via 10.0.0.2 mtu 1400\n"
                    "route append 10.5.0.0/16 via 10.0.0.2\nroute del 10.5.0.0/16\n"
                    "route add blackhole 10.6.0.0/16 metric 7\n"
                    "route add 10.7.0.0/16 nexthop via 10.0.0.2 weight 3 nexthop via 10.0.1.2\n"),
              ElementsAre("10.1.0.0/16 static 10 10.0.0.3@a", "10.2.0.0/16 static 0 10.0.0.5@a",
                          "10.3.0.0/16 static 0 10.0.0.4@a", "10.5.0.0/16 static 0 10.0.0.2@a",
                          "10.6.0.0/16 blackhole 7", "10.7.0.0/16 static 0 10.0.0.2@a 10.0.1.2@b"));
}

TEST_F(RoutePublisherTest, NexthopObjectsReplacedAndDeleted) {
  for (int const compatible : {1, 0}) {
    sysctl("ipv4/nexthop_compat_mode", compatible);
    start();
    ip("nexthop add id 7 via 10.0.0.7 dev a\nnexthop add id 8 via 10.0.1.8 dev b\n"
       "nexthop add id 9 via 10.0.0.9 dev a\nnexthop add id 100 group 7/8\n"
       "route add 10.1.0.0/16 nhid 7\nroute add 10.2.0.0/16 nhid 8\n"
       "route add 10.3.0.0/16 nhid 9\nroute add 10.4.0.0/16 nhid 100\n");
    settle();
    EXPECT_THAT(after("nexthop replace id 7 via 10.0.0.77 dev a\nnexthop del id 8\n"
                      "nexthop replace id 9 blackhole\n"),
                ElementsAre("10.1.0.0/16 static 0 10.0.0.77@a", "10.3.0.0/16 blackhole 0",
                            "10.4.0.0/16 static 0 10.0.0.77@a"));
    EXPECT_THAT(after("nexthop replace id 9 via 10.0.0.9 dev a\nnexthop del id 7\n"),
                ElementsAre("10.3.0.0/16 static 0 10.0.0.9@a"));
    EXPECT_THAT(after("nexthop flush\n"), IsEmpty());
    EXPECT_EQ(fecs_, 2U);  // the connected routes'
  }
}

TEST_F(RoutePublisherTest, OnlyTheLastAddressOfALinkTakesItsRoutesAlong) {
  std::string const others =
      "address add 10.0.2.1/24 dev a\naddress add 10.0.3.1/32 dev a\n"
      "address add 10.0.4.1 peer 10.0.4.2/32 dev a\naddress add 10.0.0.5/24 dev a\n";
  auto const gone = std::regex_replace(others, std::regex(" add "), " del ");
  ip(others + "route add 10.1.0.0/16 via 10.0.0.2\nroute add 10.2.0.0/16 via 10.0.1.2\n");
  start();
  auto const dumps = [this] { return publisher_->feed().dumpCounters().dumps; };
  auto const before = dumps();
  for (int promotes : {0, 1}) {
    sysctl("ipv4/conf/a/promote_secondaries", promotes);
    // The second time they have come while the publisher ran.
    ip("address add 10.0.2.2/24 dev a\n" + gone + "address flush dev a to 10.0.2.0/24\n" + others);
    settle();
  }
  ip("address del 10.0.0.1/24 dev a\n");  // 10.0.0.5 takes its place
  settle();
  EXPECT_EQ(dumps(), before);
  EXPECT_THAT(after(gone.substr(0, gone.rfind("address"))), Contains(StartsWith("10.1.")));
  start();
  sysctl("ipv4/conf/a/promote_secondaries", 0);
  ip("address add 10.0.0.6/24 dev a\n");
  EXPECT_THAT(after("address del 10.0.0.5/24 dev a\n"),  // and 10.0.0.6 with it
              ElementsAre(StartsWith("10.2.")));
}

TEST_F(RoutePublisherTest, RoutesAndAddressesAreTheKernelsAfterOverruns) {
  std::string lines;
  for (int i = 0; i < 20'000; ++i) {
    auto const prefix = fmt::format("10.{}.{}.0/24", 16 + i / 256, i % 256);
    lines += fmt::format("route add {} via 10.0.0.{}\n", prefix, 2 + i % 7);
    if (i % 3 == 0) lines += fmt::format("route replace {} via 10.0.1.2\n", prefix);
    if (i % 5 == 0) lines += fmt::format("route del {}\n", prefix);
    if (i >= 2'000) continue;
    auto const address = fmt::format("10.9.{}.{}/32 dev lo\n", i / 200, 1 + i % 200);
    lines += "address add " + address;
    if (i % 8 != 0) lines += "address del " + address;
  }
  ip("address add 10.8.0.1/32 dev lo\nroute add 10.15.0.0/16 via 10.0.0.2\n");
  start({.eventBuffer = 1});
  ip(lines + "address del 10.8.0.1/32 dev lo\nroute del 10.15.0.0/16\n");
  settle();
  EXPECT_GE(publisher_->feed().counters().overruns, 1U);
  EXPECT_THAT(publisher_->summary(), testing::HasSubstr(" 253 IPv4 addresses, "));
  EXPECT_EQ(after("route flush 10.16.0.0/24\n").size(), 16'000U);
}

}  // namespace
}  // namespace Kelbase
