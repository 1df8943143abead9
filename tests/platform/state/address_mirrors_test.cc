#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/state/prefix_ledger.h"
#include "tests/platform/state/table_slices.h"

namespace State {
namespace {

using Dovel::IntfId;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Story = std::vector<std::string>;

/// Tells what is announced on the IPv4 side, in one line each.
class Witness4 : public Ip::Config::NotifieeConst {
 public:
  Witness4(Mav::Ptr<Ip::Config const> config, Story& story)
      : NotifieeConst(std::move(config)), story_(story) {}
  using NotifieeConst::onIpIntfConfig;
  void onIpIntfConfig(IntfId const& intfId) override {
    auto const intf = notifier()->ipIntfConfig(intfId);
    story_.push_back(intfId.stringValue() + (intf ? " comes" : " goes"));
    if (!intf) return;
    EXPECT_EQ(intf->addrWithMask(), Dovel::IpAddrWithMask()) << "created with its address";
    addresses_.push_back(std::make_unique<Addresses>(intf, story_));
  }

 private:
  class Addresses : public Ip::IpIntfConfig::NotifieeConst {
   public:
    Addresses(Mav::Ptr<Ip::IpIntfConfig const> intf, Story& story)
        : NotifieeConst(std::move(intf)), story_(story) {}
    void onAddrWithMask() override { story_.push_back(notifier()->addrWithMask().stringValue()); }

   private:
    Story& story_;
  };

  Story& story_;
  std::vector<std::unique_ptr<Addresses>> addresses_;
};

class AddressMirrorsTest : public testing::Test {
 protected:
  void link(char const* name, std::int32_t ifIndex, bool operUp = true) {
    tables_.put<Pondo::LinkTable>(IntfId(name), {ifIndex, true, operUp});
  }
  void linkGone(char const* name) { tables_.erase<Pondo::LinkTable>(IntfId(name)); }
  static Pondo::Address4Table::Key key4(char const* link, char const* addr) {
    Dovel::IpAddrWithMask const parsed{std::string_view(addr)};
    return {IntfId(link), parsed.address(), static_cast<std::uint8_t>(parsed.length()),
            parsed.address()};
  }
  void address(char const* link, char const* addr, char const* label = "") {
    tables_.put<Pondo::Address4Table>(key4(link, addr), {.label = IntfId(label)});
  }
  void addressGone(char const* link, char const* addr) {
    tables_.erase<Pondo::Address4Table>(key4(link, addr));
  }
  void address6(char const* link, char const* addr, bool tentative = false) {
    Dovel::Ip6AddrWithMask const parsed{std::string_view(addr)};
    tables_.put<Pondo::Address6Table>({IntfId(link), parsed.address()},
                                      {.length = static_cast<std::uint8_t>(parsed.length()),
                                       .peer = parsed.address(),
                                       .tentative = tentative});
  }
  void slice() {
    story_.clear();
    tables_.slice(mirrors_);
  }

  /// "a 10.0.0.1/24", for each.
  Story config() const {
    Story result;
    for (auto it = mirrors_.ipConfig()->ipIntfConfigIterator(); it; ++it) {
      result.push_back(it.key().stringValue() + ' ' + it->addrWithMask().stringValue());
    }
    return result;
  }
  Story status() const {
    Story result;
    for (auto it = mirrors_.ipStatus()->ipIntfStatusIterator(); it; ++it) {
      result.push_back(it.key().stringValue() + ' ' + it->activeAddrWithMask().stringValue());
    }
    return result;
  }
  template <class Dir>
  static Story addresses6(Dir const& dir) {
    Story result;
    for (auto it = dir.intfIterator(); it; ++it) {
      for (auto addr = it->addrIterator(); addr; ++addr) {
        result.push_back(it.key().stringValue() + ' ' + addr.key().stringValue());
      }
    }
    return result;
  }
  /// "a=1", for each.
  Story interfaces() const {
    Story result;
    for (auto it = mirrors_.intfStatusDir()->intfStatusIterator(); it; ++it) {
      result.push_back(it.key().stringValue() + '=' + std::to_string(it->ifIndex()));
    }
    return result;
  }

  TableSlices tables_;
  NoMountObserver observer_;
  Mav::Directory directory_;
  Mirrors mirrors_{directory_, observer_};
  Story story_;
  Witness4 witness_{mirrors_.ipConfig(), story_};
};

TEST_F(AddressMirrorsTest, EachAddressOfALinkHasAnIntfIdOfItsOwn) {
  link("a", 7);
  address("a", "10.0.0.1/24", "a");
  address("a", "10.0.0.2/24", "a");
  address("a", "10.0.0.3/24", "a:x");
  address("a", "10.0.0.4/24", "a:x");
  address("a", "10.0.0.4/16");
  slice();
  EXPECT_THAT(config(), ElementsAre("a 10.0.0.1/24", "a#2 10.0.0.2/24", "a#3 10.0.0.4/16",
                                    "a#4 10.0.0.4/24", "a:x 10.0.0.3/24"));
  EXPECT_EQ(status(), config());
  EXPECT_THAT(interfaces(), ElementsAre("a=7", "a#2=7", "a#3=7", "a#4=7", "a:x=7"));
}

TEST_F(AddressMirrorsTest, IntfIdsAreKeptForLifeAndTheSmallestFreeIsGivenNext) {
  link("a", 7);
  for (auto const* addr : {"1.0.0.1/8", "2.0.0.1/8", "3.0.0.1/8", "4.0.0.1/8"}) address("a", addr);
  slice();
  addressGone("a", "1.0.0.1/8");
  addressGone("a", "2.0.0.1/8");
  addressGone("a", "3.0.0.1/8");
  slice();
  EXPECT_THAT(config(), ElementsAre("a#4 4.0.0.1/8"));
  EXPECT_THAT(interfaces(), ElementsAre("a=7", "a#4=7"));
  for (auto const* addr : {"5.0.0.1/8", "6.0.0.1/8", "7.0.0.1/8", "8.0.0.1/8"}) address("a", addr);
  slice();
  EXPECT_THAT(config(), ElementsAre("a 5.0.0.1/8", "a#2 6.0.0.1/8", "a#3 7.0.0.1/8",
                                    "a#4 4.0.0.1/8", "a#5 8.0.0.1/8"));
}

TEST_F(AddressMirrorsTest, AnIntfIdMakesRoomForALinkOfThatName) {
  link("a", 7);
  address("a", "1.0.0.1/8");
  address("a", "2.0.0.1/8");
  address("a", "3.0.0.1/8", "b");
  slice();
  EXPECT_THAT(config(), ElementsAre("a 1.0.0.1/8", "a#2 2.0.0.1/8", "b 3.0.0.1/8"));
  link("b", 8);
  link("a#2", 9);
  address("b", "4.0.0.1/8");
  slice();
  EXPECT_THAT(config(),
              ElementsAre("a 1.0.0.1/8", "a#3 2.0.0.1/8", "a#4 3.0.0.1/8", "b 4.0.0.1/8"));
  EXPECT_THAT(interfaces(), ElementsAre("a=7", "a#2=9", "a#3=7", "a#4=7", "b=8"));
}

TEST_F(AddressMirrorsTest, InOperationWhileTheLinkIs) {
  link("a", 7, false);
  address("a", "1.0.0.1/8");
  address("a", "2.0.0.1/8");
  address6("a", "2001:db8::1/64");
  slice();
  EXPECT_THAT(config(), ElementsAre("a 1.0.0.1/8", "a#2 2.0.0.1/8"));
  EXPECT_THAT(status(), IsEmpty());
  EXPECT_THAT(addresses6(*mirrors_.ip6Status()), IsEmpty());
  link("a", 7, true);
  slice();
  EXPECT_EQ(status(), config());
  EXPECT_THAT(addresses6(*mirrors_.ip6Status()), ElementsAre("a 2001:db8::1/64"));
  EXPECT_TRUE(mirrors_.intfStatusDir()->intfStatus(IntfId("a#2"))->operUp());
  EXPECT_THAT(story_, IsEmpty());
  link("a", 7, false);
  slice();
  EXPECT_THAT(status(), IsEmpty());
  EXPECT_EQ(mirrors_.ip6Status()->intfCount(), 0U);
  EXPECT_EQ(mirrors_.ip6Config()->intfCount(), 1U);
}

TEST_F(AddressMirrorsTest, TentativeAddressesAreConfiguredAlone) {
  link("a", 7);
  address6("a", "2001:db8::1/64", true);
  address6("a", "fe80::1/64");
  slice();
  EXPECT_THAT(addresses6(*mirrors_.ip6Config()), ElementsAre("a 2001:db8::1/64", "a fe80::1/64"));
  EXPECT_THAT(addresses6(*mirrors_.ip6Status()), ElementsAre("a fe80::1/64"));
  address6("a", "2001:db8::1/64", false);
  slice();
  EXPECT_EQ(addresses6(*mirrors_.ip6Status()), addresses6(*mirrors_.ip6Config()));
  address6("a", "2001:db8::1/48");
  slice();
  EXPECT_THAT(addresses6(*mirrors_.ip6Status()), ElementsAre("a 2001:db8::1/48", "a fe80::1/64"));
}

TEST_F(AddressMirrorsTest, WhatChangesBesideTheAddressIsNotAnnounced) {
  link("a", 7);
  address("a", "1.0.0.1/8", "a");
  slice();
  EXPECT_THAT(story_, ElementsAre("a comes", "1.0.0.1/8"));
  tables_.put<Pondo::Address4Table>(key4("a", "1.0.0.1/8"), {IntfId("a:1"), true});
  slice();
  EXPECT_THAT(story_, IsEmpty());
}

TEST_F(AddressMirrorsTest, AddressesWaitForTheirLinkAndFollowItToItsNewIndex) {
  address("a", "1.0.0.1/8");
  address("a", "2.0.0.1/8");
  slice();
  EXPECT_THAT(config(), IsEmpty());
  link("a", 7);
  slice();
  EXPECT_THAT(interfaces(), ElementsAre("a=7", "a#2=7"));
  link("a", 9);
  slice();
  EXPECT_THAT(story_,
              ElementsAre("a goes", "a#2 goes", "a comes", "1.0.0.1/8", "a#2 comes", "2.0.0.1/8"));
  EXPECT_THAT(interfaces(), ElementsAre("a=9", "a#2=9"));
  linkGone("a");
  slice();
  EXPECT_THAT(config(), IsEmpty());
  EXPECT_THAT(interfaces(), IsEmpty());
}

TEST_F(AddressMirrorsTest, OneSiblingComesAgainWhenAnAddressOfItsPrefixGoes) {
  link("a", 7);
  for (auto const* addr : {"10.0.0.1/24", "10.0.0.2/24", "10.0.0.3/24", "10.0.0.4/16"}) {
    address("a", addr);
  }
  slice();
  addressGone("a", "10.0.0.1/24");
  slice();
  EXPECT_THAT(story_, ElementsAre("a goes", "0.0.0.0/0", "10.0.0.2/24"));
  addressGone("a", "10.0.0.4/16");
  slice();
  EXPECT_THAT(story_, ElementsAre("a#4 goes"));
}

using Ledger = PrefixLedger<Dovel::IpAddr>;

/// What repairs() names, then made: "10.0.0.1 config a".
Story repairs(Ledger& ledger) {
  Story result;
  for (auto const& [presence, length] : ledger.repairs()) {
    result.push_back(presence.addr.stringValue() +
                     (presence.source == AddressSource::config ? " config " : " status ") +
                     presence.intfId.stringValue());
  }
  ledger.repaired();
  return result;
}

TEST(PrefixLedgerTest, APrefixIsShakenWhenAFirstPresenceMovesAway) {
  Ledger ledger;
  Dovel::IpAddr const x("10.0.0.1"), y("10.0.0.2");
  Dovel::IpAddr const net("10.0.0.0");
  Ledger::Prefix const onA{1, net, 24}, onB{2, net, 24};
  auto const status = AddressSource::status, config = AddressSource::config;
  IntfId const a("a"), b("b");
  ledger.added({x, config, b}, onB);
  ledger.added({y, status, b}, onB);
  ledger.added({y, config, b}, onB);
  EXPECT_THAT(repairs(ledger), IsEmpty());
  ledger.added({x, status, a}, onA);  // x is shown on a now; y still leads to the prefix on b
  EXPECT_THAT(repairs(ledger), ElementsAre("10.0.0.2 config b"));
  ledger.removed({y, status, b});  // its configuration leads there still
  EXPECT_THAT(repairs(ledger), IsEmpty());
  ledger.removed({y, config, b});  // x is on b too, but does not lead there
  EXPECT_THAT(repairs(ledger), IsEmpty());
  ledger.removed({x, status, a});  // back on b, which brings the row
  EXPECT_THAT(repairs(ledger), IsEmpty());
}

}  // namespace
}  // namespace State
