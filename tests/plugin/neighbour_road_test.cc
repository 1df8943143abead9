// The tables of links and neighbours, the mirrors, the state machine and its cache together: random
// histories, cut into slices anywhere. What is served depends on what the tables hold alone.

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "agent/arp_table_sm.h"
#include "tests/platform/state/table_slices.h"

namespace {

using Dovel::IntfId;
using Pondo::LinkTable;
using Pondo::Neighbour4Table;

/// "7 10.0.0.1 02:00:00:00:00:01 static", of each row.
using Rows = std::set<std::string>;

std::string row(std::int32_t ifIndex, Dovel::IpAddr addr, Dovel::EthAddr ethAddr, bool isStatic) {
  return std::to_string(ifIndex) + ' ' + addr.stringValue() + ' ' + ethAddr.stringValue() +
         (isStatic ? " static" : "");
}

/// The agent's side of the road.
struct Agent {
  /// What is served; fails where a row has no neighbour.
  Rows rows() const {
    Rows result;
    for (auto it = mib->arpTableIterator(); it; ++it) {
      auto const entry = it->arpEntry();
      EXPECT_NE(entry, Arp::ArpEntryStatus()) << "served and nowhere";
      result.insert(row(static_cast<std::int32_t>(it.key().ifIndex()), it.key().ipAddr(),
                        entry.ethAddr(), entry.isStatic()));
    }
    return result;
  }

  State::NoMountObserver observer;
  Mav::Directory directory;
  State::Mirrors mirrors{directory, observer};
  Mav::Ptr<IpSnmp::IpMib> mib = IpSnmp::ipMibFactory("ipmib");
  Mav::Ptr<IpSnmp::ArpTableSm> sm = Mav::makeObject<IpSnmp::ArpTableSm>(
      nullptr, mirrors.intfStatusDir(), mib, mirrors.arpStatus());
};

class NeighbourRoadTest : public testing::TestWithParam<unsigned> {
 protected:
  unsigned draw(unsigned end) {
    return std::uniform_int_distribution<unsigned>(0, end - 1)(random_);
  }
  bool oneIn(unsigned n) { return draw(n) == 0; }
  /// The last is what the second address of the first prints as.
  IntfId someName() {
    static constexpr char const* names[] = {"a", "b", "c", "d", "a#2"};
    return IntfId(names[draw(5)]);
  }

  void step();
  void linkStep();
  void linkMoved(IntfId const& from, IntfId const& to);
  void linkIs(IntfId const& name, std::int32_t ifIndex);
  void linkGone(IntfId const& name);
  void neighbourStep();
  /// An address that another link has too, of the kind whose label names an interface.
  void addressStep();
  Rows expected() const;

  std::mt19937 random_{GetParam()};
  std::map<IntfId, std::int32_t> links_;
  std::map<Neighbour4Table::Key, Neighbour4Table::Record> neighbours_;  // of links that are there
  std::int32_t nextIndex_ = 70000;
  State::TableSlices tables_;
  Agent agent_;
};

void NeighbourRoadTest::step() {
  if (oneIn(6)) return addressStep();
  if (oneIn(4)) return linkStep();
  neighbourStep();
}

void NeighbourRoadTest::linkIs(IntfId const& name, std::int32_t ifIndex) {
  links_[name] = ifIndex;
  tables_.put<LinkTable>(name, {ifIndex, true, oneIn(2)});
}

void NeighbourRoadTest::linkGone(IntfId const& name) {
  std::erase_if(neighbours_, [&](auto const& neighbour) {
    if (neighbour.first.link != name) return false;
    tables_.erase<Neighbour4Table>(neighbour.first);
    return true;
  });
  links_.erase(name);
  tables_.erase<LinkTable>(name);
}

void NeighbourRoadTest::linkMoved(IntfId const& from, IntfId const& to) {
  auto const ifIndex = links_[from];
  auto const had = neighbours_;
  linkGone(from);
  linkIs(to, ifIndex);
  for (auto const& [was, record] : had) {
    if (was.link != from || oneIn(4)) continue;
    auto key = was;
    key.link = to;
    neighbours_[key] = record;
    tables_.put<Neighbour4Table>(key, record);
  }
}

void NeighbourRoadTest::linkStep() {
  auto const name = someName(), other = someName();
  if (!links_.contains(name)) return linkIs(name, nextIndex_++);
  auto const ifIndex = links_[name];
  switch (draw(5)) {
    case 0:
      return linkGone(name);
    case 1:
      return links_.contains(other) ? void() : linkMoved(name, other);
    case 2:  // gone, and another one took its index
      if (name == other) return;
      linkGone(name);
      if (links_.contains(other)) linkGone(other);
      return linkIs(other, ifIndex);
    case 3:
      return linkIs(name, nextIndex_++);  // gone and come again, with its neighbours, unseen
    default:
      return linkIs(name, ifIndex);
  }
}

void NeighbourRoadTest::neighbourStep() {
  Neighbour4Table::Key const key{someName(), Dovel::IpAddr(draw(8) * 0x01000001U)};
  if (!links_.contains(key.link)) return;
  if (neighbours_.contains(key) && oneIn(2)) {
    neighbours_.erase(key);
    return tables_.erase<Neighbour4Table>(key);
  }
  Dovel::EthAddr::Octets octets{};
  octets[5] = static_cast<std::uint8_t>(draw(3));
  neighbours_[key] = {Dovel::EthAddr(octets), oneIn(2)};
  tables_.put<Neighbour4Table>(key, neighbours_[key]);
}

void NeighbourRoadTest::addressStep() {
  Dovel::IpAddr const addr(0x0a000001U + draw(3));
  Pondo::Address4Table::Key const key{someName(), addr, 24, addr};
  if (oneIn(3)) return tables_.erase<Pondo::Address4Table>(key);
  tables_.put<Pondo::Address4Table>(key, {someName(), false});
}

Rows NeighbourRoadTest::expected() const {
  Rows result;
  for (auto const& [key, record] : neighbours_) {
    result.insert(row(links_.at(key.link), key.addr, record.ethAddr, record.isStatic));
  }
  return result;
}

TEST_P(NeighbourRoadTest, ServedIsWhatTheTablesHoldHoweverItCameThere) {
  for (int round = 0; round < 150 && !HasFailure(); ++round) {
    SCOPED_TRACE(round);
    for (unsigned steps = 1 + draw(12); steps > 0; --steps) step();
    if (oneIn(2)) std::shuffle(tables_.changes().begin(), tables_.changes().end(), random_);
    while (!tables_.changes().empty()) {
      tables_.slice(agent_.mirrors, 1 + draw(12));
      agent_.rows();  // none without its neighbour
    }
    EXPECT_EQ(agent_.rows(), expected());
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, NeighbourRoadTest, testing::Range(1U, 7U));

}  // namespace
