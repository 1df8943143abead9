#include <fstream>
#include <initializer_list>
#include <map>
#include <optional>
#include <random>
#include <sstream>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <net/if_arp.h>

#include "kelbase/netlink/kernel_sources.h"
#include "kelbase/netlink/neighbour_source.h"
#include "kelbase/netlink/netlink_feed.h"
#include "kelbase/publish/neighbour_rows.h"
#include "kelbase/publish/on_links_view.h"
#include "tests/kelbase/namespace_fixture.h"
#include "tests/kelbase/netlink_builder.h"
#include "tests/kelbase/scratch_dir.h"

namespace Kelbase {
namespace {

using Dovel::EthAddr;
using Dovel::IntfId;
using Dovel::IpAddr;
using Table = Pondo::Neighbour4Table;
using Rows = std::map<Table::Key, Table::Record>;

Rows rowsOf(TableView& view, Pondo::Writer& writer) {
  Rows rows;
  view.writeAll(writer);
  writer.scan<Table>([&](auto const& key, auto const& record) { rows.emplace(key, record); });
  return rows;
}

class NeighbourSourceTest : public testing::Test {
 protected:
  NeighbourSourceTest() {
    kernel_.links.is({.index = 2, .name = IntfId("a")});
    source_.dumpWishIs([this](double) { ++wishes_; });
  }

  static NetlinkBuilder told(int host, unsigned state, int type = RTM_NEWNEIGH) {
    auto message = neighbourMessage(type, 2, state);
    message.value(NDA_DST, addressOf(host).octets());
    if ((state & (NUD_FAILED | NUD_INCOMPLETE)) == 0) message.value(NDA_LLADDR, linkAddress);
    return message;
  }
  static IpAddr addressOf(int host) { return IpAddr({10, 0, 0, static_cast<std::uint8_t>(host)}); }
  void hear(NetlinkBuilder const& message) { source_.receive(message.message()); }
  /// Of a row: whether it is static.
  std::optional<bool> isStatic(int host) const {
    auto const row = view_.find({IntfId("a"), addressOf(host)});
    return row ? std::optional(row->isStatic) : std::nullopt;
  }
  int wishesAfterDump(int from, int to) {
    wishes_ = 0;
    source_.dumpBegin();
    for (int host = from; host < to; ++host) hear(told(host, NUD_STALE));
    source_.dumpEnd(true);
    return wishes_;
  }

  static constexpr EthAddr::Octets linkAddress{2, 0, 0, 0, 0, 9};
  Kernel kernel_;
  OnLinksView<Neighbour4Row> view_{kernel_.links, kernel_.neighbours4};
  NeighbourSource source_{kernel_.neighbours4};
  int wishes_ = 0;
};

TEST_F(NeighbourSourceTest, OnlyResolvedIpv4NeighboursHaveRows) {
  for (auto const state : std::initializer_list<unsigned>{NUD_REACHABLE, NUD_STALE, NUD_DELAY,
                                                          NUD_PROBE, NUD_PERMANENT}) {
    hear(told(1, state));
    EXPECT_EQ(isStatic(1), state == NUD_PERMANENT) << state;
  }
  for (auto const state :
       std::initializer_list<unsigned>{NUD_NONE, NUD_INCOMPLETE, NUD_FAILED, NUD_NOARP}) {
    hear(told(1, NUD_STALE));
    hear(told(1, state));
    EXPECT_EQ(isStatic(1), std::nullopt) << state;
  }
  hear(told(2, NUD_STALE));
  hear(neighbourMessage(RTM_DELNEIGH, 2, NUD_STALE, AF_INET, NTF_PROXY)
           .value(NDA_DST, addressOf(2).octets()));
  EXPECT_EQ(isStatic(2), false);
  hear(told(2, NUD_STALE, RTM_DELNEIGH));
  hear(neighbourMessage(RTM_NEWNEIGH, 2, NUD_PERMANENT, AF_BRIDGE).value(NDA_LLADDR, linkAddress));
  hear(neighbourMessage(RTM_NEWNEIGH, 2, NUD_STALE)  // of a tunnel: its other end
           .value(NDA_DST, addressOf(3).octets())
           .value(NDA_LLADDR, addressOf(4).octets()));
  EXPECT_EQ(kernel_.neighbours4.size(), 0U);
}

TEST_F(NeighbourSourceTest, StatesThatComeAndGoWriteNothing) {
  ScratchDir scratch;
  Pondo::Writer writer(scratch / "run", {});
  hear(told(1, NUD_REACHABLE));
  EXPECT_EQ(rowsOf(view_, writer).size(), 1U);
  writer.commit();
  auto const generation = writer.generation();
  for (auto const state :
       std::initializer_list<unsigned>{NUD_STALE, NUD_DELAY, NUD_PROBE, NUD_REACHABLE}) {
    hear(told(1, state));
    hear(told(2, NUD_INCOMPLETE));
    hear(told(2, NUD_FAILED));
    view_.writeRemovals(writer);
    view_.writeRest(writer);
    writer.commit();
  }
  EXPECT_EQ(writer.generation(), generation);
}

TEST_F(NeighbourSourceTest, ADumpThatMayHaveLeftSomeOutIsTakenAgain) {
  EXPECT_EQ(wishesAfterDump(1, 20), 0);  // in one piece
  EXPECT_EQ(wishesAfterDump(1, 200), 1);
  EXPECT_EQ(wishesAfterDump(1, 200), 0);
  EXPECT_EQ(wishesAfterDump(1, 150), 1);
  EXPECT_EQ(kernel_.neighbours4.size(), 149U);
  for (int dump = 0; dump < 6; ++dump) {  // always something new: not for ever
    EXPECT_EQ(wishesAfterDump(1, 160 + dump), dump < 2 ? 1 : 0) << dump;
  }
}

TEST_F(NeighbourSourceTest, ABadMessageChangesNothing) {
  auto const rejects = [this](NetlinkBuilder const& message, char const* why) {
    EXPECT_THAT([&] { hear(message); }, testing::ThrowsMessage<BadMessage>(why));
  };
  rejects(neighbourMessage(RTM_NEWNEIGH, 2, NUD_STALE), "RTM_NEWNEIGH: NDA_DST is missing");
  rejects(neighbourMessage(RTM_NEWNEIGH, 2, NUD_STALE).value(NDA_DST, std::uint64_t{1}),
          "RTM_NEWNEIGH: NDA_DST: 8 bytes, expected 4");
  rejects(neighbourMessage(RTM_DELNEIGH, 0, NUD_STALE),
          "RTM_DELNEIGH: interface index 0, expected 1 or more");
  rejects(neighbourMessage(RTM_NEWNEIGH, 2, NUD_STALE).cutTo(8),
          "RTM_NEWNEIGH: header of 8 bytes, expected at least 12");
}

/// What the kernel says by another road than netlink.
Rows kernelRows() {
  Rows rows;
  std::ifstream file("/proc/net/arp");
  std::string line;
  for (std::getline(file, line); std::getline(file, line);) {
    std::istringstream fields(line);
    std::string address, type, flags, linkAddress, mask, link;
    fields >> address >> type >> flags >> linkAddress >> mask >> link;
    unsigned const bits = static_cast<unsigned>(std::stoul(flags, nullptr, 16));
    if ((bits & ATF_PUBL) != 0 || (bits & ATF_COM) == 0) continue;
    rows[{IntfId(link), IpAddr(std::string_view(address))}] = {
        EthAddr(std::string_view(linkAddress)), (bits & ATF_PERM) != 0};
  }
  return rows;
}

/// Random changes of neighbours and of the links that they hang on.
class NeighbourHistory {
 public:
  explicit NeighbourHistory(unsigned seed) : random_(seed) {}

  static std::string links() {
    return link("a", "c") + link("b", "d") +
           "link add bri type bridge\nlink set dev bri up\nlink add p index 70000 type bridge\n";
  }
  std::string next() {
    static constexpr std::array states{"permanent", "stale",  "reachable", "delay",
                                       "probe",     "failed", "noarp",     "none"};
    unsigned const kind = pick(100);
    if (kind < 60) {
      return fmt::format("neigh replace {} lladdr 02:00:00:00:00:0{} dev {} nud {}\n", address(),
                         pick(3), device(), states[pick(states.size())]);
    }
    if (kind < 75) return fmt::format("neigh del {} dev {}\n", address(), device());
    if (kind < 78) return fmt::format("neigh flush dev {}\n", device());
    if (kind < 81) return fmt::format("neigh replace proxy {} dev {}\n", address(), device());
    if (kind < 83)
      return fmt::format("neigh replace fe80::{} lladdr 02:00:00:00:00:01 dev a\n", 1 + pick(9));
    if (kind < 87)
      return fmt::format("link set dev {} {}\n", device(), pick(2) == 0 ? "down" : "up");
    if (kind < 90)
      return fmt::format("link set dev {} address 02:00:00:00:01:0{}\n", device(), pick(9));
    if (kind < 92) return "link set dev a name x\nlink set dev b name a\nlink set dev x name b\n";
    if (kind < 94) return "link set dev b master bri\n";
    if (kind < 96) return "link set dev b nomaster\n";
    if (kind < 98)
      return fmt::format("link set dev {} arp {}\n", device(), pick(2) == 0 ? "off" : "on");
    return "link del dev b\n" + link("b", "d");
  }

 private:
  static std::string link(char const* name, char const* peer) {
    return fmt::format(
        "link add name {0} type veth peer name {1}\nlink set dev {0} up\nlink set dev {1} up\n",
        name, peer);
  }
  unsigned pick(std::size_t count) { return static_cast<unsigned>(random_() % count); }
  std::string address() { return fmt::format("10.0.0.{}", 1 + pick(12)); }
  char const* device() {
    static constexpr std::array names{"a", "b", "c", "bri", "p"};
    return names[pick(names.size())];
  }

  std::mt19937 random_;
};

class NeighbourFeedTest : public NamespaceTest {
 protected:
  void start(NetlinkFeed::Options options = {}) {
    feed_.reset();
    kernel_.emplace();
    view_.emplace(kernel_->links, kernel_->neighbours4);
    owned_ = makeKernelSources(*kernel_);
    sources_.clear();
    for (auto const& source : owned_) sources_.push_back(source.get());
    feed_.emplace(activity_, sources_, options, [] {});
  }
  bool followed() {
    return turnUntil(
        [this] { return feed_->settled() && rowsOf(*view_, writer_) == kernelRows(); });
  }

  ScratchDir scratch_;
  Pondo::Writer writer_{scratch_ / "run", {}};
  std::optional<Kernel> kernel_;
  std::optional<OnLinksView<Neighbour4Row>> view_;
  KernelSources owned_;
  std::vector<KernelSource*> sources_;
  std::optional<NetlinkFeed> feed_;
};

TEST_F(NeighbourFeedTest, AnyHistoryIsFollowed) {
  ip(NeighbourHistory::links());
  for (unsigned const seed : {1U, 2U}) {
    NeighbourHistory history(seed);
    start({.eventBuffer = seed == 1 ? std::size_t{16} << 20U : 1});  // or: ever too small
    for (int round = 0; round < 12; ++round) {
      std::string lines;
      for (int i = 0; i < 60; ++i) lines += history.next();
      ipForce(lines);
      ASSERT_TRUE(followed()) << "seed " << seed << " round " << round;
    }
    EXPECT_EQ(feed_->counters().rejected, 0U);
    EXPECT_EQ(feed_->counters().overruns > 0, seed == 2);
    auto const rows = kernelRows();
    start();
    EXPECT_TRUE(followed());
    EXPECT_EQ(kernelRows(), rows);
  }
}

TEST_F(NeighbourFeedTest, ManyBeforeAndAfterTheStart) {
  constexpr std::size_t many = 10'000;
  std::string lines;
  for (std::size_t i = 0; i < many; ++i) {
    lines += fmt::format("neigh replace 10.{}.{}.1 lladdr 02:00:00:00:00:01 dev a nud permanent\n",
                         1 + i / 250, i % 250);
  }
  auto const areThere = [this](std::size_t count) {
    return turnUntil([&] { return feed_->settled() && kernel_->neighbours4.size() == count; });
  };
  ip("link add name a type veth peer name c\nlink set dev a up\nlink set dev c up\n" + lines);
  start();
  EXPECT_TRUE(areThere(many));
  ip("link set dev a address 02:00:00:00:01:01\n");  // all go
  EXPECT_TRUE(areThere(0));
  ip(lines);
  EXPECT_TRUE(areThere(many));
  EXPECT_EQ(rowsOf(*view_, writer_), kernelRows());
  ip("link del dev a\n");
  EXPECT_TRUE(areThere(0));
  EXPECT_EQ(feed_->counters().overruns, 0U);
}

}  // namespace
}  // namespace Kelbase
