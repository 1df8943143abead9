#include <initializer_list>
#include <map>
#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelbase/model/kernel.h"
#include "kelbase/netlink/neighbour_source.h"
#include "kelbase/publish/neighbour_rows.h"
#include "kelbase/publish/on_links_view.h"
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

}  // namespace
}  // namespace Kelbase
