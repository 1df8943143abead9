#include <initializer_list>
#include <optional>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelbase/model/kernel.h"
#include "kelbase/netlink/neighbour_source.h"
#include "kelbase/publish/neighbour_view.h"
#include "kelbase/publish/on_links_rows.h"
#include "kelbase/publish/on_links_view.h"
#include "tests/kelbase/netlink_builder.h"
#include "tests/support/scratch_dir.h"

namespace Kelbase {
namespace {

using Dovel::EthAddr;
using Dovel::IntfId;
using Dovel::IpAddr;
using Table = Pondo::NeighbourTable;
using State = Table::State;

class NeighbourSourceTest : public testing::Test {
 protected:
  NeighbourSourceTest() {
    kernel_.links.is(link_);
    source_.dumpWishIs([this](double) { ++wishes_; });
    source_.lookWishIs([this](double delay) { looks_.push_back(delay); });
  }

  static NetlinkBuilder told(int host, unsigned state, int type = RTM_NEWNEIGH,
                             std::uint32_t ago = 0) {
    auto message = neighbourMessage(type, 2, state);
    message.value(NDA_DST, addressOf(host).octets());
    message.value(NDA_CACHEINFO, nda_cacheinfo{0, 0, ago, 1});
    if ((state & (NUD_FAILED | NUD_INCOMPLETE)) == 0) message.value(NDA_LLADDR, linkAddress);
    return message;
  }
  static IpAddr addressOf(int host) { return IpAddr({10, 0, 0, static_cast<std::uint8_t>(host)}); }
  void hear(NetlinkBuilder const& message) { source_.receive(message.message()); }
  std::optional<Table::Record> row(int host) const {
    return view_.find(Table::Key::of(2, addressOf(host)));
  }
  /// Of a row of the table of those that are resolved: whether it is static.
  std::optional<bool> isStatic(int host) const {
    auto const resolved = view4_.find({IntfId("a"), addressOf(host)});
    return resolved ? std::optional(resolved->isStatic) : std::nullopt;
  }
  void dump(int from, int to, bool whole = true) {
    source_.dumpBegin();
    for (int host = from; host < to; ++host) hear(told(host, NUD_STALE));
    source_.dumpEnd(whole);
  }
  int wishesAfterDump(int from, int to) {
    wishes_ = 0;
    dump(from, to);
    return wishes_;
  }
  static void write(TableView& view, Pondo::Writer& writer) {
    view.writeRemovals(writer);
    view.writeRest(writer);
    writer.commit();
  }

  static constexpr EthAddr::Octets linkAddress{2, 0, 0, 0, 0, 9};
  Link link_{.index = 2, .name = IntfId("a")};
  Kernel kernel_;
  NeighbourView view_{kernel_.neighbours};
  OnLinksView<Neighbour4Row> view4_{kernel_.links, kernel_.neighbours};
  NeighbourSource source_{kernel_.neighbours, kernel_.links};
  int wishes_ = 0;
  std::vector<double> looks_;
};

TEST_F(NeighbourSourceTest, EveryStateButTwoHasARow) {
  using Origin = Table::Origin;
  struct Case {
    unsigned state;
    std::optional<State> shown;
    bool isResolved = true;
  };
  for (auto const& one : std::initializer_list<Case>{{NUD_REACHABLE, State::reachable},
                                                     {NUD_STALE, State::stale},
                                                     {NUD_DELAY, State::delay},
                                                     {NUD_PROBE, State::probe},
                                                     {NUD_PERMANENT, State::reachable},
                                                     {NUD_INCOMPLETE, State::incomplete, false},
                                                     {NUD_FAILED, State::failed, false},
                                                     {NUD_NONE, std::nullopt, false},
                                                     {NUD_NOARP, std::nullopt, false}}) {
    hear(told(1, NUD_STALE));
    hear(told(1, one.state));
    bool const isPermanent = one.state == NUD_PERMANENT;
    ASSERT_EQ(row(1).has_value(), one.shown.has_value()) << one.state;
    EXPECT_EQ(isStatic(1), one.isResolved ? std::optional(isPermanent) : std::nullopt);
    if (!one.shown) continue;
    EXPECT_EQ(row(1)->state, one.shown);
    EXPECT_EQ(row(1)->origin, isPermanent ? Origin::configured : Origin::learned) << one.state;
    EXPECT_EQ(row(1)->linkAddress.octets().size(), one.isResolved ? 6U : 0U) << one.state;
  }
}

TEST_F(NeighbourSourceTest, NeighboursOfAllKindsOfLinks) {
  Dovel::Ip6Addr const global("2001:db8::1");
  Dovel::Ip6Addr const local("fe80::1");
  for (auto const& address : {global, local}) {
    hear(neighbourMessage(RTM_NEWNEIGH, 2, NUD_STALE, AF_INET6)
             .value(NDA_DST, address.octets())
             .value(NDA_LLADDR, std::array<std::uint8_t, 20>{1, 2}));
    auto const found = view_.find(Table::Key::of(2, address));
    EXPECT_TRUE(found && found->linkAddress.octets().size() == 20U) << address;
  }
  EXPECT_EQ(Table::Key::of(2, local).type, Pondo::InetAddressType::ipv6z);
  hear(neighbourMessage(RTM_NEWNEIGH, 2, NUD_STALE)  // of a tunnel: its other end
           .value(NDA_DST, addressOf(3).octets())
           .value(NDA_LLADDR, addressOf(4).octets()));
  EXPECT_TRUE(row(3));
  EXPECT_EQ(isStatic(3), std::nullopt);
  hear(told(2, NUD_STALE));
  hear(neighbourMessage(RTM_DELNEIGH, 2, NUD_STALE, AF_INET, NTF_PROXY)
           .value(NDA_DST, addressOf(2).octets()));
  hear(neighbourMessage(RTM_NEWNEIGH, 2, NUD_PERMANENT, AF_BRIDGE).value(NDA_LLADDR, linkAddress));
  EXPECT_EQ(isStatic(2), false);
  EXPECT_EQ(kernel_.neighbours.size(), 4U);
  link_.name = IntfId("b");
  kernel_.links.is(link_);
  EXPECT_TRUE(row(2));
  EXPECT_EQ(isStatic(2), std::nullopt);
  kernel_.links.del(link_);
  EXPECT_EQ(kernel_.neighbours.size(), 0U);
}

TEST_F(NeighbourSourceTest, OnlyWhatChangedIsWritten) {
  ScratchDir scratch;
  Pondo::Writer writer(scratch / "run", {});
  hear(told(1, NUD_REACHABLE));
  for (TableView* view : std::initializer_list<TableView*>{&view_, &view4_}) write(*view, writer);
  auto const generation = writer.generation();
  for (auto const state :
       std::initializer_list<unsigned>{NUD_STALE, NUD_DELAY, NUD_PROBE, NUD_REACHABLE}) {
    hear(told(1, state));
    hear(told(2, NUD_INCOMPLETE));
    hear(told(2, NUD_FAILED));
    write(view4_, writer);
  }
  EXPECT_EQ(writer.generation(), generation) << "of those that are resolved nothing changed";
  write(view_, writer);
  auto const written = writer.generation();
  for (std::uint32_t const ago : {0U, 7U, 50U}) {  // as a clock tells that is read a little later
    hear(told(1, NUD_REACHABLE, RTM_NEWNEIGH, ago));
    write(view_, writer);
  }
  EXPECT_EQ(writer.generation(), written);
  Kernel kernel;  // of a publisher that starts again
  NeighbourView again(kernel.neighbours);
  NeighbourSource source(kernel.neighbours, kernel.links);
  source.receive(told(1, NUD_REACHABLE, RTM_NEWNEIGH, 30).message());
  source.receive(told(2, NUD_FAILED, RTM_NEWNEIGH, 300).message());
  auto const counts = again.writeAll(writer);
  EXPECT_EQ(counts.unchanged, 1U);
  EXPECT_EQ(counts.changed, 1U);
}

TEST_F(NeighbourSourceTest, ALookRemovesNothing) {
  dump(1, 9);
  EXPECT_THAT(looks_, testing::IsEmpty()) << "of links that are down";
  link_.isUp = true;
  kernel_.links.is(link_);
  EXPECT_THAT(looks_, testing::ElementsAre(NeighbourSource::lookInterval));
  source_.dumpBegin();
  hear(told(1, NUD_DELAY));
  hear(told(9, NUD_INCOMPLETE));
  source_.dumpEnd(false);
  EXPECT_EQ(row(1)->state, State::delay);
  EXPECT_EQ(kernel_.neighbours.size(), 9U);
  EXPECT_EQ(looks_.size(), 2U);
}

TEST_F(NeighbourSourceTest, ADumpThatMayHaveLeftSomeOutIsTakenAgain) {
  EXPECT_EQ(wishesAfterDump(1, 20), 0);  // in one piece
  EXPECT_EQ(wishesAfterDump(1, 200), 1);
  EXPECT_EQ(wishesAfterDump(1, 200), 0);
  EXPECT_EQ(wishesAfterDump(1, 150), 1);
  EXPECT_EQ(kernel_.neighbours.size(), 149U);
  for (int dump = 0; dump < 6; ++dump) {  // always something new: not for ever
    EXPECT_EQ(wishesAfterDump(1, 160 + dump), dump < 2 ? 1 : 0) << dump;
  }
}

}  // namespace
}  // namespace Kelbase
