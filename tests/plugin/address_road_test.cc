// The tables of addresses, the mirrors, the state machine and its caches together: random histories
// of links and addresses, cut into slices anywhere.

#include <algorithm>
#include <map>
#include <optional>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "agent/ip_address_table_sm.h"
#include "tests/platform/state/table_slices.h"

namespace {

using Dovel::IntfId;
using IpSnmp::InetAddress;

template <class Addr>
InetAddress inet(Addr const& addr) {
  if constexpr (std::is_same_v<Addr, Dovel::IpAddr>) {
    return InetAddress::fromIpAddr(addr);
  } else {
    return InetAddress::fromIp6Addr(addr);
  }
}

template <class AddrWithMask>
IpSnmp::IpAddressPrefixKey prefixOf(std::int32_t ifIndex, AddrWithMask const& addr) {
  auto const subnet = inet(addr.subnet());
  return {static_cast<std::uint32_t>(ifIndex), subnet.version(), subnet.bytes(), addr.length()};
}

/// By address: the prefix that it leads to, and whether a link in operation has it.
using Rows = std::map<InetAddress, std::pair<IpSnmp::IpAddressPrefixKey, IpSnmp::AddressStatus>>;

/// The mirrors, the state machine on them, and its caches. The mirrors provide every ifIndex while
/// they live, and nobody does after them.
struct Agent {
  Rows served() const;
  void expectPrefixes() const;
  std::size_t configured4() const {
    std::size_t count = 0;
    for (auto it = mirrors.ipConfig()->intfIterator(); it; ++it) ++count;
    return count;
  }

  State::NoMountObserver observer;
  Mav::Directory directory;
  State::Mirrors mirrors{directory, observer};
  Mav::Ptr<IpSnmp::IpMib> const mib = IpSnmp::ipMibFactory("ipmib");
  Mav::Ptr<IpSnmp::IpAddressTableSm> const sm = Mav::makeObject<IpSnmp::IpAddressTableSm>(
      nullptr, mirrors.intfStatusDir(), mib, mirrors.ipConfig(), mirrors.ipStatus(),
      mirrors.ip6Config(), mirrors.ip6Status());
};

Rows Agent::served() const {
  Rows rows;
  for (auto it = mib->ipAddressTableIterator(); it; ++it) {
    auto const& prefix = it->prefixEntry()->key();
    rows[it.key()] = {prefix, it->addressStatus()};
    auto const old = mib->ipAddrTable(it->ipAdEntAddr());
    EXPECT_EQ(old != nullptr, it.key().version() == Ip::ipVersion4);
    if (!old) continue;
    EXPECT_EQ(old->ipAdEntIfIndex(), prefix.ifIndex());
    EXPECT_EQ(old->ipAdEntNetMask(), Dovel::IpAddr::netmask(prefix.length()));
  }
  return rows;
}

// At every moment that a request can see.
void Agent::expectPrefixes() const {
  std::set<IpSnmp::IpAddressPrefixKey> used, rows;
  for (auto it = mib->ipAddressTableIterator(); it; ++it) used.insert(it->prefixEntry()->key());
  for (auto it = mib->ipAddressPrefixTableIterator(); it; ++it) rows.insert(it.key());
  EXPECT_EQ(rows, used);
}

class AddressRoadTest : public testing::TestWithParam<unsigned> {
 protected:
  struct Link {
    Pondo::LinkTable::Record record;
    std::map<Pondo::Address4Table::Key, Pondo::Address4Table::Record> addresses4;
    std::map<Pondo::Address6Table::Key, Pondo::Address6Table::Record> addresses6;
  };

  unsigned draw(unsigned end) {
    return std::uniform_int_distribution<unsigned>(0, end - 1)(random_);
  }
  bool oneIn(unsigned n) { return draw(n) == 0; }

  /// Names such that one prints as the IntfId of another's address, or begins with another.
  IntfId someName() {
    static constexpr char const* names[] = {"a", "b", "a!", "a#2", "a10"};
    return IntfId(names[draw(std::size(names))]);
  }
  Dovel::IpAddr someAddress4() { return Dovel::IpAddr(0x0a000001U + draw(2) * 0x100U + draw(6)); }
  std::uint8_t someLength(std::initializer_list<std::uint8_t> lengths) {
    return *(lengths.begin() + draw(static_cast<unsigned>(lengths.size())));
  }

  void step();
  void linkStep();
  void linkGone(IntfId const& name);
  void linkRenamed(IntfId const& from, IntfId const& to);
  void address4Step();
  void address6Step();
  template <class Table, class Addresses>
  void put(Addresses& addresses, typename Table::Key const& key,
           typename Table::Record const& record) {
    addresses[key] = record;
    tables_.put<Table>(key, record);
  }
  template <class Table, class Addresses>
  void erase(Addresses& addresses, typename Table::Key const& key) {
    if (addresses.erase(key) != 0) tables_.erase<Table>(key);
  }

  void deliver();
  void loseNotifications();
  Rows expected() const;
  std::size_t addresses4() const {
    std::size_t count = 0;
    for (auto const& [name, link] : links_) count += link.addresses4.size();
    return count;
  }

  std::mt19937 random_{GetParam()};
  std::map<IntfId, Link> links_;
  std::int32_t nextIndex_ = 1;
  State::TableSlices tables_;
  std::set<std::pair<Pondo::TableId, std::string>> keys_;  // of all times
  std::optional<Agent> agent_{std::in_place};
};

void AddressRoadTest::step() {
  switch (draw(8)) {
    case 0:
      return linkStep();
    case 1:
    case 2:
    case 3:
      return address6Step();
    default:
      return address4Step();
  }
}

void AddressRoadTest::linkStep() {
  auto const name = someName();
  auto const it = links_.find(name);
  if (it == links_.end()) {
    links_[name].record = {nextIndex_++, true, oneIn(2)};
  } else if (oneIn(4)) {
    return linkGone(name);
  } else if (auto const to = someName(); oneIn(4) && to != name) {
    return linkRenamed(name, to);
  } else if (oneIn(4)) {
    it->second.record.ifIndex = nextIndex_++;  // gone and come again, unseen
  } else {
    it->second.record.operUp = !it->second.record.operUp;
  }
  tables_.put<Pondo::LinkTable>(name, links_[name].record);
}

void AddressRoadTest::linkGone(IntfId const& name) {
  auto const& link = links_[name];
  for (auto const& [key, record] : link.addresses4) tables_.erase<Pondo::Address4Table>(key);
  for (auto const& [key, record] : link.addresses6) tables_.erase<Pondo::Address6Table>(key);
  tables_.erase<Pondo::LinkTable>(name);
  links_.erase(name);
}

// Where there is a link of that name, the two exchange names.
void AddressRoadTest::linkRenamed(IntfId const& from, IntfId const& to) {
  IntfId const aside("aside");
  if (links_.contains(to)) {
    linkRenamed(to, aside);
    linkRenamed(from, to);
    return linkRenamed(aside, from);
  }
  auto const link = links_[from];
  linkGone(from);
  links_[to].record = link.record;
  tables_.put<Pondo::LinkTable>(to, link.record);
  for (auto const& [was, record] : link.addresses4) {
    auto key = was;
    key.link = to;
    put<Pondo::Address4Table>(links_[to].addresses4, key, record);
  }
  for (auto const& [was, record] : link.addresses6) {
    auto key = was;
    key.link = to;
    put<Pondo::Address6Table>(links_[to].addresses6, key, record);
  }
}

void AddressRoadTest::address4Step() {
  auto const link = links_.find(someName());
  if (link == links_.end()) return linkStep();
  auto const local = someAddress4();
  Pondo::Address4Table::Key const key{link->first, local, someLength({24, 24, 16, 32, 8}),
                                      oneIn(8) ? someAddress4() : local};
  if (link->second.addresses4.contains(key) && !oneIn(4)) {
    return erase<Pondo::Address4Table>(link->second.addresses4, key);
  }
  put<Pondo::Address4Table>(link->second.addresses4, key,
                            {oneIn(3) ? someName() : link->first, oneIn(2)});
}

void AddressRoadTest::address6Step() {
  auto const link = links_.find(someName());
  if (link == links_.end()) return linkStep();
  auto octets = Dovel::Ip6Addr(oneIn(5) ? "fe80::1" : "2001:db8::1").octets();
  octets[15] = static_cast<std::uint8_t>(1 + draw(6));
  Pondo::Address6Table::Key const key{link->first, Dovel::Ip6Addr(octets)};
  if (link->second.addresses6.contains(key) && oneIn(2)) {
    return erase<Pondo::Address6Table>(link->second.addresses6, key);
  }
  put<Pondo::Address6Table>(link->second.addresses6, key,
                            {someLength({64, 64, 48}), key.local, oneIn(4), oneIn(8), oneIn(4)});
}

// What the tables come to: an address is served from a link in operation, then from the link of
// the smallest name, then with the shortest prefix.
Rows AddressRoadTest::expected() const {
  std::map<InetAddress, std::map<std::tuple<bool, std::string, unsigned>, Rows::mapped_type>>
      ranked;
  for (auto const& [name, link] : links_) {
    auto const add = [&, &name = name, &link = link](auto const& addr, bool active) {
      bool const inOperation = link.record.operUp && active;
      ranked[inet(addr.address())].emplace(
          std::tuple(!inOperation, name.stringValue(), addr.length()),
          Rows::mapped_type(
              prefixOf(link.record.ifIndex, addr),
              inOperation ? IpSnmp::addressStatusPreferred : IpSnmp::addressStatusInaccessible));
    };
    for (auto const& [key, record] : link.addresses4) {
      add(Dovel::IpAddrWithMask(key.local, key.length), true);
    }
    for (auto const& [key, record] : link.addresses6) {
      if (key.local.isLinkLocal()) continue;
      add(Dovel::Ip6AddrWithMask(key.local, record.length), !record.tentative && !record.dadFailed);
    }
  }
  Rows rows;
  for (auto const& [addr, places] : ranked) rows[addr] = places.begin()->second;
  return rows;
}

// The reader compares instead: every key there is or was, by table and key.
void AddressRoadTest::loseNotifications() {
  auto& changes = tables_.changes();
  for (auto const& change : changes) keys_.emplace(change.table, change.key);
  changes.clear();
  for (auto const& [table, key] : keys_) changes.push_back({table, key});
}

void AddressRoadTest::deliver() {
  auto& changes = tables_.changes();
  while (!changes.empty() && !HasFailure()) {
    tables_.slice(agent_->mirrors, 1 + draw(12));
    agent_->expectPrefixes();
  }
}

TEST_P(AddressRoadTest, WhatIsServedIsWhatTheTablesHoldHoweverItCame) {
  for (int round = 0; round < 120 && !HasFailure(); ++round) {
    SCOPED_TRACE(round);
    for (unsigned steps = 1 + draw(12); steps > 0; --steps) step();
    if (oneIn(3)) std::shuffle(tables_.changes().begin(), tables_.changes().end(), random_);
    for (auto const& change : tables_.changes()) keys_.emplace(change.table, change.key);
    if (oneIn(8)) loseNotifications();
    if (oneIn(20)) {
      agent_.reset();
      agent_.emplace();
      loseNotifications();
    }
    deliver();
    EXPECT_EQ(agent_->served(), expected());
    EXPECT_EQ(agent_->configured4(), addresses4());
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, AddressRoadTest, testing::Range(1U, 5U));

}  // namespace
