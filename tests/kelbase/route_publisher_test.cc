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
  std::uint64_t generation_ = 0;
};

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

}  // namespace
}  // namespace Kelbase
