#include "platform/state/mirrors.h"

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/pondo/writer.h"
#include "platform/state/link_mirror.h"
#include "platform/state/routing6_config.h"
#include "platform/state/routing_config.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Story = std::vector<std::string>;

class TempDir {
 public:
  TempDir() {
    std::string pattern = std::filesystem::temp_directory_path() / "mirrors.XXXXXX";
    if (!::mkdtemp(pattern.data())) std::abort();
    path_ = pattern;
  }
  ~TempDir() { std::filesystem::remove_all(path_); }
  std::filesystem::path const& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// Tells what the mirrors tell, in one line each.
class Witness : public State::MountObserver, public Interface::AllIntfStatusDir::NotifieeConst {
 public:
  explicit Witness(Story& story) : story_(story) {}
  void mountsWillChange() noexcept override { story_.emplace_back("mounts will change"); }
  void mountsHaveChanged() override { story_.emplace_back("mounts have changed"); }
  using Interface::AllIntfStatusDir::NotifieeConst::onIntfStatus;
  void stateIsKnown() override { story_.emplace_back("state is known"); }
  void onIntfStatus(Dovel::IntfId const& intfId) override {
    auto const status = notifier()->intfStatus(intfId);
    story_.push_back(intfId.stringValue() +
                     (status ? " comes as " + std::to_string(status->ifIndex()) : " goes"));
  }

 private:
  Story& story_;
};

/// A mirror of things that hang on interfaces, such as addresses: keys are "eth0 10.0.0.1".
class DependantMirror : public State::Mirror {
 public:
  DependantMirror(Story& story, std::map<std::string, bool>& table)
      : story_(story), table_(table) {}

  Pondo::TableId table() const override { return tableId; }
  void begin() override { going_.clear(), coming_.clear(); }
  void read(Pondo::Snapshot const&, std::string_view key) override {
    (table_.contains(std::string(key)) ? coming_ : going_).emplace(key);
  }
  void interfaceChanged(Pondo::Snapshot const&, State::InterfaceChange const& change) override {
    for (auto const& key : filed_) {
      if (!change.leaves() || !key.starts_with(change.intfId.stringValue() + ' ')) continue;
      going_.insert(key);
      if (table_.contains(key)) coming_.insert(key);
    }
  }
  void apply(State::Phase phase) override {
    if (phase == State::Phase::withdraw) {
      for (auto const& key : going_) story_.push_back(key + " withdrawn"), filed_.erase(key);
    }
    if (phase == State::Phase::announce) {
      for (auto const& key : coming_) story_.push_back(key + " announced"), filed_.insert(key);
    }
  }
  void end() override {}
  std::optional<std::string> filedKey(std::string_view) const override { return std::nullopt; }

  static constexpr auto tableId = static_cast<Pondo::TableId>(3);

 private:
  Story& story_;
  std::map<std::string, bool>& table_;
  std::set<std::string> filed_, going_, coming_;
};

class MirrorsTest : public testing::Test {
 protected:
  MirrorsTest() { witness_.notifierIs(mirrors_.intfStatusDir()); }

  void forwarding(Pondo::Family family, bool routing) {
    edits_.push_back([=](Pondo::Writer& writer) {
      writer.put<Pondo::ForwardingTable>(family, {.routing = routing});
    });
    changed<Pondo::ForwardingTable>(family);
  }
  void forwardingGone(Pondo::Family family) {
    edits_.push_back([=](Pondo::Writer& writer) { writer.erase<Pondo::ForwardingTable>(family); });
    changed<Pondo::ForwardingTable>(family);
  }
  void link(char const* name, std::int32_t ifIndex, bool operUp = true) {
    Dovel::IntfId const key{name};
    edits_.push_back([=](Pondo::Writer& writer) {
      writer.put<Pondo::LinkTable>(key, {.ifIndex = ifIndex, .adminUp = true, .operUp = operUp});
    });
    changed<Pondo::LinkTable>(key);
  }
  void linkGone(char const* name) {
    edits_.push_back(
        [=](Pondo::Writer& writer) { writer.erase<Pondo::LinkTable>(Dovel::IntfId{name}); });
    changed<Pondo::LinkTable>(Dovel::IntfId{name});
  }
  template <class Table>
  void changed(typename Table::Key const& key) {
    changes_.push_back({Table::id, Pondo::encodeKey<Table>(key)});
  }

  /// Hands what changed since to `mirrors`, as one slice.
  void slice(State::Mirrors& mirrors) {
    write();
    Pondo::Reader const reader(dir_.path());
    mirrors.onChanges(reader.snapshot(), std::exchange(changes_, {}));
  }
  void slice() { slice(mirrors_); }

  // Its own scope: a process has one environment open at a time.
  void write() {
    Pondo::Writer writer(dir_.path(), {});
    for (auto const& edit : std::exchange(edits_, {})) edit(writer);
    writer.commit();
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

  TempDir const dir_;
  std::vector<std::function<void(Pondo::Writer&)>> edits_;
  std::vector<Pondo::Change> changes_;
  Story story_;
  Witness witness_{story_};
  Mav::Directory directory_;
  State::Mirrors mirrors_{directory_, witness_};
};

TEST_F(MirrorsTest, ConfigIsMountedWithItsValueWhileItIsPublished) {
  forwarding(Pondo::Family::ipv4, true);
  slice();
  EXPECT_EQ(routing<Routing::Config>(), true);
  EXPECT_EQ(routing<Routing6::Config>(), std::nullopt);
  auto const entity = directory_.entity(Routing::Config::path);

  forwarding(Pondo::Family::ipv4, false);
  forwarding(Pondo::Family::ipv6, true);
  slice();
  EXPECT_EQ(routing<Routing::Config>(), false);
  EXPECT_EQ(directory_.entity(Routing::Config::path), entity);
  EXPECT_EQ(routing<Routing6::Config>(), true);

  forwardingGone(Pondo::Family::ipv6);
  slice();
  EXPECT_EQ(routing<Routing6::Config>(), std::nullopt);
  EXPECT_EQ(routing<Routing::Config>(), false);
}

TEST_F(MirrorsTest, ObserverStandsAroundMountsAndNothingElse) {
  forwarding(Pondo::Family::ipv4, true);
  forwarding(Pondo::Family::ipv6, true);
  slice();
  EXPECT_THAT(story_, ElementsAre("mounts will change", "mounts have changed"));
  story_.clear();
  forwarding(Pondo::Family::ipv4, false);
  slice();
  EXPECT_THAT(story_, IsEmpty());
  forwardingGone(Pondo::Family::ipv4);
  slice();
  mirrors_.onInSync();
  EXPECT_THAT(story_, ElementsAre("mounts will change", "mounts have changed", "state is known"));
}

TEST_F(MirrorsTest, InterfaceObjectLivesAsLongAsNameAndIndex) {
  link("eth0", 2, false);
  slice();
  auto const eth0 = status("eth0");
  ASSERT_NE(eth0, nullptr);
  EXPECT_EQ(eth0->ifIndex(), 2);
  EXPECT_FALSE(eth0->operUp());

  link("eth0", 2, true);
  slice();
  EXPECT_EQ(status("eth0"), eth0);
  EXPECT_TRUE(eth0->operUp());
  EXPECT_THAT(story_, ElementsAre("eth0 comes as 2"));

  link("eth0", 7);
  slice();
  EXPECT_NE(status("eth0"), eth0);
  EXPECT_EQ(eth0->ifIndex(), 2);
  EXPECT_THAT(story_, ElementsAre("eth0 comes as 2", "eth0 goes", "eth0 comes as 7"));
}

TEST_F(MirrorsTest, InterfacesGoBeforeOthersComeWhateverTheOrderOfKeys) {
  link("old", 2);
  slice();
  story_.clear();
  link("new", 2);  // a rename, told new name first
  linkGone("old");
  slice();
  EXPECT_THAT(story_, ElementsAre("old goes", "new comes as 2"));
}

TEST_F(MirrorsTest, KeysAnnouncedWithoutAChangeAreNotToldAgain) {
  link("eth0", 2);
  forwarding(Pondo::Family::ipv4, true);
  slice();
  story_.clear();
  changed<Pondo::LinkTable>(Dovel::IntfId{"eth0"});
  changed<Pondo::LinkTable>(Dovel::IntfId{"never"});
  changed<Pondo::ForwardingTable>(Pondo::Family::ipv4);
  changes_.push_back({Pondo::TableId::link, "not a key"});
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

TEST_F(MirrorsTest, IfIndexComesFromTheProviderOrNot) {
  auto const eth0 = Mav::makeObject<Interface::IntfStatus>(Dovel::IntfId{"eth0"}, 2);
  EXPECT_EQ(Intf::ifIndex(*eth0), 2);
  auto const* const provider = Intf::intfDetailsProvider();
  Intf::intfDetailsProviderIs(nullptr);
  EXPECT_EQ(Intf::ifIndex(*eth0), -1);
  Intf::intfDetailsProviderIs(provider);
}

TEST_F(MirrorsTest, NothingIsMountedAfterTheMirrors) {
  Mav::Directory directory;
  {
    State::Mirrors mirrors(directory, witness_);
    forwarding(Pondo::Family::ipv4, true);
    slice(mirrors);
    EXPECT_NE(directory.entity(Routing::Config::path), nullptr);
  }
  EXPECT_EQ(directory.entity(Routing::Config::path), nullptr);
}

/// With a table of dependants beside the links.
class PhaseTest : public MirrorsTest {
 protected:
  PhaseTest() { witness_.notifierIs(intfStatusDir_); }

  void address(char const* key) { table_[key] = true, changedAddress(key); }
  void addressGone(char const* key) { table_.erase(key), changedAddress(key); }
  void changedAddress(char const* key) { changes_.push_back({DependantMirror::tableId, key}); }
  void slice() {
    story_.clear();
    MirrorsTest::slice(both_);
  }

  Mav::Ptr<Interface::AllIntfStatusDir> const intfStatusDir_ =
      Mav::makeObject<Interface::AllIntfStatusDir>();
  std::map<std::string, bool> table_;
  State::Mirrors both_{witness_, {.intfStatusDir = intfStatusDir_}, mirrors()};

 private:
  std::vector<std::unique_ptr<State::Mirror>> mirrors() {
    std::vector<std::unique_ptr<State::Mirror>> mirrors;
    mirrors.push_back(std::make_unique<State::LinkMirror>(intfStatusDir_));
    mirrors.push_back(std::make_unique<DependantMirror>(story_, table_));
    return mirrors;
  }
};

TEST_F(PhaseTest, DependantsGoFirstAndComeLast) {
  address("b 10.0.0.2");
  link("b", 3);
  slice();
  EXPECT_THAT(story_, ElementsAre("b comes as 3", "b 10.0.0.2 announced"));

  address("c 10.0.0.3");
  link("c", 4);
  linkGone("b");
  addressGone("b 10.0.0.2");
  slice();
  EXPECT_THAT(story_, ElementsAre("b 10.0.0.2 withdrawn", "b goes", "c comes as 4",
                                  "c 10.0.0.3 announced"));
}

TEST_F(PhaseTest, DependantsOfALeavingInterfaceGoEvenWhenTheirOwnChangesComeLater) {
  address("b 10.0.0.2");
  link("b", 3);
  slice();
  linkGone("b");
  table_.clear();
  slice();
  EXPECT_THAT(story_, ElementsAre("b 10.0.0.2 withdrawn", "b goes"));
}

TEST_F(PhaseTest, DependantsFollowTheirInterfaceToItsNewIndex) {
  address("b 10.0.0.2");
  link("b", 3);
  slice();
  link("b", 9);
  slice();
  EXPECT_THAT(story_, ElementsAre("b 10.0.0.2 withdrawn", "b goes", "b comes as 9",
                                  "b 10.0.0.2 announced"));
}

}  // namespace
