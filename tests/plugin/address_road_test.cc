// The tables of addresses, the mirrors, the state machine and its caches together: random histories
// of links and addresses, cut into slices anywhere.

#include <algorithm>
#include <map>
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

/// Presences of every address, and the prefix that each leads to.
using Presences = std::map<InetAddress, std::map<IpSnmp::IntfDataKey, IpSnmp::IpAddressPrefixKey>>;
/// "1 10.0.0.1/24": what an interface of that index has.
using Held = std::multiset<std::string>;

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

  /// Names such that one can be the IntfId of another's address.
  IntfId someName() {
    static constexpr char const* names[] = {"a", "b", "c", "a#2", "b:1"};
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

  void expectEntitiesAsTables() const;
  void expectCachesAsEntities() const;
  void expectPrefixes() const;
  Presences presences() const;
  std::int32_t ifIndex(IntfId const& intfId) const {
    auto const status = mirrors_.intfStatusDir()->intfStatus(intfId);
    return status ? status->ifIndex() : 0;
  }

  std::mt19937 random_{GetParam()};
  std::map<IntfId, Link> links_;
  std::int32_t nextIndex_ = 1;
  State::TableSlices tables_;
  State::NoMountObserver observer_;
  Mav::Directory directory_;
  State::Mirrors mirrors_{directory_, observer_};
  Mav::Ptr<IpSnmp::IpMib> const mib_ = IpSnmp::ipMibFactory("ipmib");
  Mav::Ptr<IpSnmp::IpAddressTableSm> const sm_ = Mav::makeObject<IpSnmp::IpAddressTableSm>(
      nullptr, mirrors_.intfStatusDir(), mib_, mirrors_.ipConfig(), mirrors_.ipStatus(),
      mirrors_.ip6Config(), mirrors_.ip6Status());
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
  } else if (auto const to = someName(); oneIn(4) && !links_.contains(to)) {
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

void AddressRoadTest::linkRenamed(IntfId const& from, IntfId const& to) {
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
  Pondo::Address4Table::Key const key{link->first, local, someLength({24, 24, 16, 32}),
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

template <class AddrWithMask>
std::string held(std::int32_t ifIndex, AddrWithMask const& addr) {
  return std::to_string(ifIndex) + ' ' + addr.stringValue();
}

void AddressRoadTest::expectEntitiesAsTables() const {
  Held config, status, expectedConfig, expectedStatus;
  for (auto const& [name, link] : links_) {
    EXPECT_EQ(ifIndex(name), link.record.ifIndex);
    for (auto const& [key, record] : link.addresses4) {
      auto const text = held(link.record.ifIndex, Dovel::IpAddrWithMask(key.local, key.length));
      expectedConfig.insert(text);
      if (link.record.operUp) expectedStatus.insert(text);
    }
    for (auto const& [key, record] : link.addresses6) {
      auto const text = held(link.record.ifIndex, Dovel::Ip6AddrWithMask(key.local, record.length));
      expectedConfig.insert(text);
      bool const active = !record.tentative && !record.dadFailed;
      if (link.record.operUp && active) expectedStatus.insert(text);
    }
  }
  for (auto it = mirrors_.ipConfig()->ipIntfConfigIterator(); it; ++it) {
    config.insert(held(ifIndex(it.key()), it->addrWithMask()));
  }
  for (auto it = mirrors_.ipStatus()->ipIntfStatusIterator(); it; ++it) {
    status.insert(held(ifIndex(it.key()), it->activeAddrWithMask()));
  }
  for (auto it = mirrors_.ip6Config()->intfIterator(); it; ++it) {
    for (auto at = it->addrIterator(); at; ++at) config.insert(held(ifIndex(it.key()), at.key()));
  }
  for (auto it = mirrors_.ip6Status()->intfIterator(); it; ++it) {
    for (auto at = it->addrIterator(); at; ++at) status.insert(held(ifIndex(it.key()), at.key()));
  }
  EXPECT_EQ(config, expectedConfig);
  EXPECT_EQ(status, expectedStatus);
  // A link's first address may have gone: the others keep the interfaces of their own.
  std::set<IntfId> interfaces;
  for (auto const& [name, link] : links_) interfaces.insert(name);
  for (auto it = mirrors_.ipConfig()->ipIntfConfigIterator(); it; ++it) interfaces.insert(it.key());
  EXPECT_EQ(mirrors_.intfStatusDir()->intfStatusCount(), interfaces.size());
}

Presences AddressRoadTest::presences() const {
  Presences result;
  auto const add = [&](IpSnmp::AddressSource source, IntfId const& intfId, auto const& addr) {
    result[inet(addr.address())][{source, intfId}] = prefixOf(ifIndex(intfId), addr);
  };
  for (auto it = mirrors_.ipConfig()->ipIntfConfigIterator(); it; ++it) {
    add(IpSnmp::addressSourceConfig, it.key(), it->addrWithMask());
  }
  for (auto it = mirrors_.ipStatus()->ipIntfStatusIterator(); it; ++it) {
    add(IpSnmp::addressSourceStatus, it.key(), it->activeAddrWithMask());
  }
  auto const add6 = [&](IpSnmp::AddressSource source, auto const& intf) {
    for (auto at = intf.addrIterator(); at; ++at) {
      if (!at.key().address().isLinkLocal()) add(source, intf.intfId(), at.key());
    }
  };
  for (auto it = mirrors_.ip6Config()->intfIterator(); it; ++it) {
    add6(IpSnmp::addressSourceConfig, *it.value());
  }
  for (auto it = mirrors_.ip6Status()->intfIterator(); it; ++it) {
    add6(IpSnmp::addressSourceStatus, *it.value());
  }
  return result;
}

void AddressRoadTest::expectCachesAsEntities() const {
  auto const expected = presences();
  std::size_t count = 0, count4 = 0;
  for (auto it = mib_->ipAddressTableIterator(); it; ++it, ++count) {
    auto const found = expected.find(it.key());
    ASSERT_NE(found, expected.end()) << "served and nowhere";
    auto const& [master, prefix] = *found->second.begin();
    EXPECT_EQ(it->prefixEntry()->key(), prefix);
    EXPECT_EQ(it->intfMap().size(), found->second.size());
    bool const inOperation = master.source() == IpSnmp::addressSourceStatus;
    EXPECT_EQ(it->addressStatus() == IpSnmp::addressStatusInaccessible, !inOperation);
    if (it.key().version() == Ip::ipVersion4) {
      ++count4;
      auto const row = mib_->ipAddrTable(it->ipAdEntAddr());
      ASSERT_NE(row, nullptr);
      EXPECT_EQ(row->ipAdEntIfIndex(), prefix.ifIndex());
    }
  }
  EXPECT_EQ(count, expected.size());
  EXPECT_EQ(mib_->ipAddrTableMap().size(), count4);
}

// At every moment that a request can see.
void AddressRoadTest::expectPrefixes() const {
  std::set<IpSnmp::IpAddressPrefixKey> used, rows;
  for (auto it = mib_->ipAddressTableIterator(); it; ++it) used.insert(it->prefixEntry()->key());
  for (auto it = mib_->ipAddressPrefixTableIterator(); it; ++it) rows.insert(it.key());
  EXPECT_EQ(rows, used);
}

TEST_P(AddressRoadTest, TheCachesAreTheTablesAfterEverySlice) {
  for (int round = 0; round < 120 && !HasFailure(); ++round) {
    SCOPED_TRACE(round);
    for (unsigned steps = 1 + draw(12); steps > 0; --steps) step();
    if (oneIn(3)) std::shuffle(tables_.changes().begin(), tables_.changes().end(), random_);
    while (!tables_.changes().empty() && !HasFailure()) {
      tables_.slice(mirrors_, 1 + draw(12));
      expectCachesAsEntities();
      expectPrefixes();
    }
    expectEntitiesAsTables();
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, AddressRoadTest, testing::Range(1U, 5U));

}  // namespace
