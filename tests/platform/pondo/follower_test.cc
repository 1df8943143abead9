#include "platform/pondo/follower/follower.h"

#include <algorithm>
#include <fstream>
#include <map>

#include <gmock/gmock.h>
#include <poll.h>
#include <unistd.h>

#include "platform/mav/time.h"
#include "platform/pondo/tables/format.h"
#include "tests/platform/pondo/peer_process.h"
#include "tests/support/failing_allocations.h"

namespace Pondo::Test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A mirror of the links: what a listener is for.
class Mirror : public Listener {
 public:
  std::span<TableId const> tables() const override { return heard_; }
  bool isHeavy(TableId) const override { return heavy; }
  void onChanges(Snapshot const& snapshot, std::span<Change const> changes) override {
    ++slices;
    largestSlice = std::max(largestSlice, changes.size());
    if (failures > 0) {
      --failures;
      throw std::runtime_error("not today");
    }
    for (auto const& change : changes) {
      auto const key = LinkTable::decodeKey(change.key);
      auto const record = snapshot.get<LinkTable>(*key);
      announced.push_back(key->stringValue());
      if (record) {
        links[change.key] = record->ifIndex;
      } else {
        links.erase(change.key);
      }
    }
  }
  std::optional<std::string> filedKey(TableId, std::string_view from) const override {
    auto const found = links.lower_bound(std::string(from));
    if (found == links.end()) return std::nullopt;
    return found->first;
  }
  void onInSync() override { ++inSync; }

  std::map<std::string, int> links;
  std::vector<std::string> announced;
  std::size_t largestSlice = 0;
  bool heavy = false;
  int slices = 0;
  int failures = 0;
  int inSync = 0;

 private:
  std::array<TableId, 1> heard_{TableId::link};
};

struct FollowerTest : RunDirTest {
  std::string publish(std::string const& options = {}) {
    return RunDirTest::publish("complete " + options);
  }
  void follow() { follower.emplace(activity, runDir, std::vector<Listener*>{&mirror}); }
  void turn() { activity.deliver(); }
  void turns(int count) {
    while (count-- > 0) turn();
  }
  void commit(std::string const& command) {
    publisher.tell(command);
    publisher.tell("commit");
  }
  /// Every reading of the clock finds the quantum used up.
  void oneSliceATurn() { time.stepPerReading(Follower::turnQuantum); }
  /// Both ends under way.
  void followPublisher(std::string const& options = {}) {
    ASSERT_EQ(publish(options), "ok");
    follow();
    turns(2);
    ASSERT_EQ(follower->state(), Follower::State::following);
    lines.take();
    mirror.announced.clear();
  }
  bool isWoken() const {
    pollfd waiting{activity.fd(), POLLIN, 0};
    return ::poll(&waiting, 1, 0) == 1;
  }

  Mav::SimulatedTime time;
  Mav::Activity activity;
  LogLines lines;
  Mirror mirror;
  std::optional<Follower> follower;
};

TEST_F(FollowerTest, comparesThenFollowsTheDoorbell) {
  ASSERT_EQ(publish(), "ok");
  commit("link b 2");
  mirror.links = {{"a", 1}, {"b", 1}};
  follow();
  turn();
  EXPECT_THAT(mirror.announced, ElementsAre("a", "b"));
  EXPECT_EQ(mirror.inSync, 1);
  EXPECT_THAT(lines.take(), ElementsAre(runDir.string() + ": in sync with the publisher's tables"));
  mirror.announced.clear();
  EXPECT_FALSE(isWoken());
  commit("link c 3");
  EXPECT_TRUE(isWoken());
  turn();
  EXPECT_THAT(mirror.announced, ElementsAre("c"));
  publisher.tell("unlink c");
  publisher.tell("link a 1");
  publisher.tell("link b 1");
  commit("link b 3");
  turn();
  EXPECT_THAT(mirror.announced, ElementsAre("c", "c", "a", "b"));
  EXPECT_EQ(mirror.links, (std::map<std::string, int>{{"a", 1}, {"b", 3}}));
  EXPECT_EQ(mirror.inSync, 1);
}

TEST_F(FollowerTest, takesNothingFromNewTablesBeforeTheyAreFilled) {
  ASSERT_EQ(RunDirTest::publish(), "ok");
  commit("link b 2");
  mirror.links = {{"a", 1}};
  follow();
  turns(2);
  EXPECT_THAT(mirror.announced, IsEmpty());
  EXPECT_EQ(mirror.inSync, 0);
  EXPECT_THAT(lines.take(), ElementsAre(HasSubstr("waiting until the publisher has filled them")));
  publisher.tell("link a 1");
  publisher.tell("complete");
  turn();
  EXPECT_THAT(mirror.announced, ElementsAre("a", "b"));
  EXPECT_EQ(mirror.inSync, 1);
}

TEST_F(FollowerTest, worksInSlicesAsManyATurnAsTheQuantumAllows) {
  ASSERT_EQ(publish(), "ok");
  oneSliceATurn();
  commit("links 0 2500 1");
  for (int i = 0; i < 1500; ++i) mirror.links["filed" + std::to_string(i)] = 1;
  follow();
  turn();
  EXPECT_EQ(follower->state(), Follower::State::comparing);
  EXPECT_EQ(mirror.announced.size(), sliceMax);
  turns(4000 / sliceMax);
  EXPECT_EQ(mirror.announced.size(), 4000U);
  EXPECT_TRUE(std::is_sorted(mirror.announced.begin(), mirror.announced.end()));
  EXPECT_EQ(mirror.links.size(), 2500U);
  EXPECT_EQ(mirror.inSync, 1);
  commit("links 0 2500 2");
  turn();
  EXPECT_TRUE(isWoken());
  turns(2500 / sliceMax);
  EXPECT_EQ(mirror.largestSlice, sliceMax);
  EXPECT_EQ(mirror.links.rbegin()->second, 2);
  time.stepPerReading(0);
  commit("links 0 2500 3");
  turn();
  EXPECT_FALSE(isWoken());
  EXPECT_EQ(mirror.largestSlice, sliceMax);
  EXPECT_EQ(mirror.links.rbegin()->second, 3);
  mirror.largestSlice = 0;
  mirror.heavy = true;
  commit("links 0 3 4");
  turn();
  EXPECT_EQ(mirror.largestSlice, 1U);
}

TEST_F(FollowerTest, ringOfACommitBehindTheTurnsSnapshotIsNotLost) {
  followPublisher();
  ASSERT_TRUE(follower->snapshot());  // before the turn looks at descriptors
  commit("link a 1");
  turn();
  EXPECT_THAT(mirror.links, IsEmpty());
  EXPECT_TRUE(isWoken());
  turn();
  EXPECT_EQ(mirror.links.at("a"), 1);
}

TEST_F(FollowerTest, ringsThatGotLostAreMadeUpForByTheLook) {
  followPublisher();
  fs::remove(tables() / "doorbell");
  turn();
  commit("link a 1");
  turn();
  EXPECT_THAT(mirror.announced, IsEmpty());
  time.advance(Follower::lookInterval);
  turn();
  EXPECT_THAT(mirror.announced, ElementsAre("a"));
}

/// As if the publisher had been started when the machine was.
void startedLongAgo(std::filesystem::path const& runDir) {
  std::fstream file(runDir / Format::publisherLockFile);
  std::string const text{std::istreambuf_iterator<char>(file), {}};
  file.seekp(
      static_cast<std::streamoff>(text.find("started=") + std::string_view("started=").size()));
  file << "0.";
}

TEST_F(FollowerTest, aPublisherThatLivesButCannotKeepTheTablesExactIsTold) {
  followPublisher();
  for (auto const* const age : {"1", "30"}) {  // seconds
    publisher.tell(std::string("exact ") + age);
    startedLongAgo(runDir);
    time.advance(Follower::lookInterval);
    turns(2);
  }
  EXPECT_THAT(lines.take(),
              ElementsAre(testing::MatchesRegex(
                  ".* cannot keep the tables exact \\(full\\); serving the last known state, "
                  "3[0-9] s old")));
  publisher.tell("exact 0");  // it rings
  turn();
  EXPECT_THAT(lines.take(), ElementsAre(HasSubstr(") is back")));
  publisher.tell("exact 30");
  publisher.tell("close");
  time.advance(Follower::lookInterval);
  turns(2);
  EXPECT_THAT(lines.take(), ElementsAre(HasSubstr("has gone")));
  // The next one is there, and may be as unable as the one before it.
  ASSERT_EQ(publish(), "ok");
  turns(2);
  EXPECT_THAT(lines.take(), IsEmpty());
  EXPECT_GE(publisherInfo(runDir)->age(machineStart() + sinceMachineStart()), 30);
  publisher.tell("exact 0");
  turn();
  EXPECT_THAT(lines.take(), ElementsAre(HasSubstr(") is back")));
}

TEST_F(FollowerTest, movedTablesAreFollowedWithoutAComparison) {
  followPublisher("pinnedMax 0");
  commit("links 0 1000 1");
  turn();
  mirror.announced.clear();
  Peer stopped;
  stopped.tell("hold " + runDir.string());
  for (int i = 2; i < 10; ++i) commit("links 0 1000 " + std::to_string(i));
  turns(10);
  publisher.tell("service");
  publisher.tell("advance 11");
  publisher.tell("service");
  ASSERT_THAT(publisher.tell("log"), HasSubstr("moved to a new environment"));
  mirror.announced.clear();
  commit("link if0000007 77");
  turn();
  EXPECT_THAT(mirror.announced, ElementsAre("if0000007"));
  EXPECT_EQ(mirror.inSync, 1);
  EXPECT_THAT(lines.take(), IsEmpty());
}

TEST_F(FollowerTest, anyAllocationMayFailWhileNewTablesAreTaken) {
  unsigned nth = 0;
  for (bool failed = true; failed;) {
    followPublisher();
    publisher.tell("close");
    fs::remove_all(runDir);
    publish();
    publisher.tell("links " + std::to_string(++nth) + " 2 1");
    commit("link a " + std::to_string(nth));
    {
      FailingAllocation const failing(nth);
      turns(3);
      failed = failing.hasFailed();
    }
    for (int look = 0; look < 3; ++look) {
      time.advance(Follower::lookInterval);
      turns(3);
    }
    ASSERT_EQ(mirror.links.size(), 3U) << "allocation " << nth;
    ASSERT_EQ(mirror.links.at("a"), static_cast<int>(nth)) << "allocation " << nth;
    commit("link a 1000");
    turns(2);
    ASSERT_EQ(mirror.links.at("a"), 1000) << "allocation " << nth;
  }
  EXPECT_GT(nth, 50U);
}

TEST_F(FollowerTest, permissionsThatAreMendedAreSeenAtOnce) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root, to become another user";
  ASSERT_EQ(publish(), "ok");
  fs::permissions(directory.path(), fs::perms{0755});
  // The group first and last: the other user may not change it.
  auto const asNobody = [](auto const& action) {
    ASSERT_EQ(::setegid(65534), 0);
    ASSERT_EQ(::seteuid(65534), 0);
    action();
    ASSERT_EQ(::seteuid(0), 0);
    ASSERT_EQ(::setegid(0), 0);
  };
  asNobody([this] {
    follow();
    turns(2);
  });
  EXPECT_THAT(lines.take(), ElementsAre(tables().string() +
                                        ": cannot open: Permission denied; let this user's group "
                                        "own the files (kelbased --group)"));
  EXPECT_FALSE(isWoken());
  for (auto const* const name : {".", "tables", "tables/data.mdb", "tables/lock.mdb"}) {
    fs::permissions(runDir / name, fs::perms{0777});
    EXPECT_TRUE(isWoken()) << name;
    asNobody([this] { turns(2); });
  }
  EXPECT_EQ(follower->state(), Follower::State::following);
  EXPECT_THAT(lines.take(), ElementsAre(HasSubstr("in sync")));
}

}  // namespace
}  // namespace Pondo::Test
