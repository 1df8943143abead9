#include "platform/state/mirrors.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/state/routing6_config.h"
#include "platform/state/routing_config.h"
#include "tests/platform/state/table_slices.h"

namespace State {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Story = std::vector<std::string>;

/// Tells what the mirrors tell, in one line each.
class Witness : public MountObserver, public Interface::AllIntfStatusDir::NotifieeConst {
 public:
  explicit Witness(Story& story) : story_(story) {}
  void mountsWillChange() noexcept override { story_.emplace_back("mounts will change"); }
  void mountsHaveChanged() override { story_.emplace_back("mounts have changed"); }
  using NotifieeConst::onIntfStatus;
  void stateIsKnown() override { story_.emplace_back("state is known"); }
  void onIntfStatus(Dovel::IntfId const& intfId) override {
    auto const status = notifier()->intfStatus(intfId);
    story_.push_back(intfId.stringValue() +
                     (status ? " comes as " + std::to_string(status->ifIndex()) : " goes"));
  }

 private:
  Story& story_;
};

class MirrorsTest : public testing::Test {
 protected:
  MirrorsTest() { witness_.notifierIs(mirrors_.intfStatusDir()); }

  void forwarding(Pondo::Family family, bool routing) {
    tables_.put<Pondo::ForwardingTable>(family, {.routing = routing});
  }
  void link(char const* name, std::int32_t ifIndex, bool operUp = true) {
    tables_.put<Pondo::LinkTable>(Dovel::IntfId(name), {ifIndex, true, operUp});
  }
  void linkGone(char const* name) { tables_.erase<Pondo::LinkTable>(Dovel::IntfId(name)); }
  void slice() {
    story_.clear();
    tables_.slice(mirrors_);
  }

  template <class Config>
  std::optional<bool> routing() const {
    auto const config = directory_.entityAs<Config>(Config::path);
    if (!config) return std::nullopt;
    return config->routing();
  }
  Mav::Ptr<Interface::IntfStatus const> status(char const* name) const {
    return mirrors_.intfStatusDir()->intfStatus(Dovel::IntfId{name});
  }

  TableSlices tables_;
  Story story_;
  Witness witness_{story_};
  Mav::Directory directory_;
  Mirrors mirrors_{directory_, witness_};
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
  EXPECT_THAT(story_, ElementsAre("eth0 comes as 2"));
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
  EXPECT_THAT(story_, ElementsAre("eth0 goes", "eth0 comes as 7"));

  link("a", 7);  // a rename, told new name first
  linkGone("eth0");
  slice();
  EXPECT_THAT(story_, ElementsAre("eth0 goes", "a comes as 7"));
}

TEST_F(MirrorsTest, KeysAnnouncedWithoutAChangeAreNotToldAgain) {
  link("eth0", 2);
  forwarding(Pondo::Family::ipv4, true);
  slice();
  tables_.changed<Pondo::LinkTable>(Dovel::IntfId{"eth0"});
  tables_.changed<Pondo::LinkTable>(Dovel::IntfId{"never"});
  tables_.changed<Pondo::ForwardingTable>(Pondo::Family::ipv4);
  tables_.changes().push_back({Pondo::TableId::link, "not a key"});
  slice();
  EXPECT_THAT(story_, IsEmpty());
}

TEST_F(MirrorsTest, FiledKeysAreFoundInOrderFromAnyBytes) {
  link("eth0", 2);
  link("eth1", 3);
  slice();
  auto const eth0 = Pondo::encodeKey<Pondo::LinkTable>(Dovel::IntfId{"eth0"});
  auto const eth1 = Pondo::encodeKey<Pondo::LinkTable>(Dovel::IntfId{"eth1"});
  EXPECT_EQ(mirrors_.filedKey(Pondo::TableId::link, ""), eth0);
  EXPECT_EQ(mirrors_.filedKey(Pondo::TableId::link, eth0), eth0);
  EXPECT_EQ(mirrors_.filedKey(Pondo::TableId::link, eth0 + '\0'), eth1);
  EXPECT_EQ(mirrors_.filedKey(Pondo::TableId::link, eth1 + '\0'), std::nullopt);
  EXPECT_EQ(mirrors_.filedKey(Pondo::TableId::forwarding, ""), std::nullopt);
}

TEST_F(MirrorsTest, NothingIsMountedAfterTheMirrors) {
  Mav::Directory directory;
  {
    Mirrors mirrors(directory, witness_);
    forwarding(Pondo::Family::ipv4, true);
    tables_.slice(mirrors);
    EXPECT_NE(directory.entity(Routing::Config::path), nullptr);
  }
  EXPECT_EQ(directory.entity(Routing::Config::path), nullptr);
}

}  // namespace
}  // namespace State
