// What the mirrors mount and announce, and in which order. That the entities end as the tables are,
// whatever happened, is for tests/plugin/address_road_test.cc.

#include "platform/state/mirrors/mirrors.h"

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/state/entities/routing_config.h"
#include "tests/platform/state/table_slices.h"

namespace State {
namespace {

using Dovel::IntfId;
using testing::ElementsAre;
using testing::IsEmpty;

using Story = std::vector<std::string>;

struct Mounts : MountObserver {
  explicit Mounts(Story& told) : story(told) {}
  void mountsWillChange() noexcept override { story.emplace_back("mounts will change"); }
  void mountsHaveChanged() override { story.emplace_back("mounts have changed"); }
  void stateIsKnown() override { story.emplace_back("state is known"); }
  Story& story;
};

/// Tells what is announced of interfaces and of IPv4 addresses, in one line each.
class Witness : public Interface::AllIntfStatusDir::NotifieeConst {
 public:
  Witness(Mirrors const& mirrors, Story& story)
      : NotifieeConst(mirrors.intfStatusDir()), story_(story), config_(mirrors.ipConfig(), story) {}
  void onIntfStatus(IntfId const& intfId) override {
    auto const status = notifier()->intfStatus(intfId);
    story_.push_back(intfId.stringValue() +
                     (status ? '=' + std::to_string(status->ifIndex()) : " leaves"));
  }

 private:
  struct Address : Ip::IpIntfConfig::NotifieeConst {
    Address(Mav::Ptr<Ip::IpIntfConfig const> intf, Story& told)
        : NotifieeConst(std::move(intf)), story(told) {}
    void onAddrWithMask() override { story.push_back(notifier()->addrWithMask().stringValue()); }
    Story& story;
  };
  struct Config : Ip::Config::NotifieeConst {
    Config(Mav::Ptr<Ip::Config const> config, Story& told)
        : NotifieeConst(std::move(config)), story(told) {}
    void onIpIntfConfig(IntfId const& intfId) override {
      auto const intf = notifier()->intf(intfId);
      story.push_back(intfId.stringValue() + (intf ? " has" : " has none"));
      if (!intf) return;
      EXPECT_EQ(intf->addrWithMask(), Dovel::IpAddrWithMask()) << "created with its address";
      addresses.push_back(std::make_unique<Address>(intf, story));
    }
    Story& story;
    std::vector<std::unique_ptr<Address>> addresses;
  };

  Story& story_;
  Config config_;
};

class MirrorsTest : public testing::Test {
 protected:
  void forwarding(Pondo::Family family, bool routing) {
    tables_.put<Pondo::ForwardingTable>(family, {.routing = routing});
  }
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
  void slice(std::size_t limit = SIZE_MAX) {
    story_.clear();
    tables_.slice(mirrors_, limit);
  }

  template <class Config>
  std::optional<bool> routing() const {
    auto const config = directory_.entityAs<Config>(Config::path);
    if (!config) return std::nullopt;
    return config->routing();
  }
  Mav::Ptr<Interface::IntfStatus const> status(char const* name) const {
    return mirrors_.intfStatusDir()->intfStatus(IntfId{name});
  }

  TableSlices tables_;
  Story story_;
  Mounts mounts_{story_};
  Mav::Directory directory_;
  Mirrors mirrors_{directory_, mounts_};
  Witness witness_{mirrors_, story_};
};

TEST_F(MirrorsTest, ConfigIsMountedWhileItIsPublishedAndTheObserverStandsAround) {
  forwarding(Pondo::Family::ipv4, true);
  slice();
  EXPECT_EQ(routing<Routing::Config>(), true);
  EXPECT_EQ(routing<Routing6::Config>(), std::nullopt);
  EXPECT_THAT(story_, ElementsAre("mounts will change", "mounts have changed"));
  auto const entity = directory_.entity(Routing::Config::path);

  forwarding(Pondo::Family::ipv4, false);
  slice();
  EXPECT_EQ(routing<Routing::Config>(), false);
  EXPECT_EQ(directory_.entity(Routing::Config::path), entity);
  EXPECT_THAT(story_, IsEmpty());

  forwarding(Pondo::Family::ipv6, true);
  tables_.erase<Pondo::ForwardingTable>(Pondo::Family::ipv4);
  slice();
  mirrors_.onInSync();
  EXPECT_EQ(routing<Routing6::Config>(), true);
  EXPECT_EQ(routing<Routing::Config>(), std::nullopt);
  EXPECT_THAT(story_, ElementsAre("mounts will change", "mounts have changed", "state is known"));
}

TEST_F(MirrorsTest, InterfaceObjectLivesAsLongAsNameAndIndex) {
  link("eth0", 2, false);
  slice();
  EXPECT_THAT(story_, ElementsAre("eth0=2"));
  auto const eth0 = status("eth0");
  link("eth0", 2, true);
  slice();
  EXPECT_EQ(status("eth0"), eth0);
  EXPECT_TRUE(eth0->operUp());
  EXPECT_THAT(story_, IsEmpty());

  link("eth0", 7);
  slice();
  EXPECT_NE(status("eth0"), eth0);
  EXPECT_EQ(eth0->ifIndex(), 2);
  EXPECT_THAT(story_, ElementsAre("eth0 leaves", "eth0=7"));

  link("a", 7);  // a rename, told new name first
  linkGone("eth0");
  slice();
  EXPECT_THAT(story_, ElementsAre("eth0 leaves", "a=7"));
}

TEST_F(MirrorsTest, KeysAnnouncedWithoutAChangeAreNotToldAgain) {
  link("eth0", 2);
  forwarding(Pondo::Family::ipv4, true);
  slice();
  tables_.changed<Pondo::LinkTable>(IntfId{"eth0"});
  tables_.changed<Pondo::LinkTable>(IntfId{"never"});
  tables_.changed<Pondo::ForwardingTable>(Pondo::Family::ipv4);
  tables_.changes().push_back({Pondo::TableId::link, "not a key"});
  slice();
  EXPECT_THAT(story_, IsEmpty());
}

TEST_F(MirrorsTest, AddressesGoFirstAndComeLastAndFollowTheirLink) {
  address("a", "1.0.0.1/8");
  address("a", "2.0.0.1/8");
  slice();
  EXPECT_THAT(story_, IsEmpty());
  link("a", 7);
  slice();
  EXPECT_THAT(story_, ElementsAre("a=7", "a#2=7", "a has", "1.0.0.1/8", "a#2 has", "2.0.0.1/8"));
  link("a", 9);
  slice();
  EXPECT_THAT(story_, ElementsAre("a has none", "a#2 has none", "a leaves", "a#2 leaves", "a=9",
                                  "a#2=9", "a has", "1.0.0.1/8", "a#2 has", "2.0.0.1/8"));
  address("b", "1.0.0.1/8");
  link("b", 8);
  linkGone("a");
  addressGone("a", "1.0.0.1/8");
  addressGone("a", "2.0.0.1/8");
  slice(3);  // its link goes before the addresses are told gone
  EXPECT_THAT(story_, ElementsAre("a has none", "a#2 has none", "a leaves", "a#2 leaves", "b=8",
                                  "b has", "1.0.0.1/8"));
  slice();
  EXPECT_THAT(story_, IsEmpty());
}

}  // namespace
}  // namespace State
