#include "platform/pondo/environment/writer.h"

#include <csignal>
#include <fstream>

#include <gmock/gmock.h>
#include <poll.h>
#include <sys/stat.h>

#include "platform/pondo/environment/reader.h"
#include "platform/pondo/environment/run_dir.h"
#include "tests/platform/pondo/peer_process.h"

namespace Pondo::Test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

LinkTable::Record link(std::int32_t ifIndex) { return {.ifIndex = ifIndex}; }

struct WriterTest : testing::Test {
  void put(std::string_view name, std::int32_t ifIndex) {
    writer->put<LinkTable>(Dovel::IntfId(name), link(ifIndex));
  }
  bool erase(std::string_view name) { return writer->erase<LinkTable>(Dovel::IntfId(name)); }

  /// "NAME=IFINDEX" of every link; ends the writer, as a process may have only one of the two.
  std::vector<std::string> linksAfterwards() {
    writer.reset();
    std::vector<std::string> found;
    Reader(runDir).snapshot().scan<LinkTable>("", 1'000, [&](auto const& id, auto const& record) {
      found.push_back(id.stringValue() + "=" + std::to_string(record.ifIndex));
    });
    return found;
  }
  std::vector<std::string> changesAfterwards() {
    writer.reset();
    Reader const reader(runDir);
    auto const snapshot = reader.snapshot();
    std::vector<std::string> found;
    snapshot.scanLog(snapshot.log().first, noLimit, [&](TableId, std::string_view key) {
      found.emplace_back(key);
      return true;
    });
    return found;
  }
  void reopen() {
    writer.reset();
    writer.emplace(runDir, options);
  }

  ScratchDir directory;
  std::filesystem::path const runDir = directory.path() / "run";
  Writer::Options options;
  std::optional<Writer> writer{std::in_place, runDir, options};
};

TEST_F(WriterTest, whatIsThereAlreadyIsNeitherWrittenNorLoggedNorByASuccessor) {
  writer->commitComplete();
  put("b", 2);
  put("a", 1);
  EXPECT_FALSE(writer->put<LinkTable>(Dovel::IntfId("a"), link(1)));
  EXPECT_FALSE(erase("c"));
  writer->commit();
  EXPECT_EQ(writer->generation(), 2U);
  put("a", 1);
  writer->commit();
  EXPECT_EQ(writer->generation(), 2U);
  reopen();
  EXPECT_EQ(writer->generation(), 2U);
  put("b", 3);
  EXPECT_TRUE(erase("a"));
  put("a", 4);
  writer->commit();
  EXPECT_EQ(writer->generation(), 3U);
  EXPECT_THAT(changesAfterwards(), ElementsAre("b", "a", "b", "a", "a"));
  EXPECT_THAT(linksAfterwards(), ElementsAre("a=4", "b=3"));
}

TEST_F(WriterTest, appendsAfterTheLastKeyWasErased) {
  for (auto const* const name : {"a", "b", "c"}) put(name, 1);
  erase("c");
  erase("b");
  put("b", 2);
  put("aa", 3);
  put("d", 4);
  writer->commit();
  EXPECT_THAT(linksAfterwards(), ElementsAre("a=1", "aa=3", "b=2", "d=4"));
}

TEST_F(WriterTest, tablesHaveNoLogUntilTheyAreComplete) {
  put("a", 1);
  writer->commit();
  put("b", 1);
  writer->commitComplete();
  put("c", 1);
  writer->commit();
  EXPECT_THAT(changesAfterwards(), ElementsAre("c"));
  EXPECT_THAT(linksAfterwards(), ElementsAre("a=1", "b=1", "c=1"));
}

TEST_F(WriterTest, syncWritesTheDifferenceRemovalsFirst) {
  writer->commitComplete();
  for (auto const* const name : {"a", "b", "c"}) put(name, 1);
  writer->commit();
  auto const counts = writer->sync<LinkTable>({{Dovel::IntfId("b"), link(1)},
                                               {Dovel::IntfId("c"), link(2)},
                                               {Dovel::IntfId("aa"), link(1)}});
  EXPECT_EQ(counts.added, 1U);
  EXPECT_EQ(counts.changed, 1U);
  EXPECT_EQ(counts.removed, 1U);
  EXPECT_EQ(counts.unchanged, 1U);
  writer->commit();
  EXPECT_THAT(changesAfterwards(), ElementsAre("a", "b", "c", "a", "aa", "c"));
}

TEST_F(WriterTest, changeLogKeepsItsLastEntries) {
  options.logMax = 16;
  reopen();
  writer->commitComplete();
  for (int i = 1; i <= 40; ++i) {
    put("eth0", i);
    writer->commit();
  }
  EXPECT_THAT(changesAfterwards().size(), testing::AnyOf(16U, 17U));
}

TEST_F(WriterTest, filesHaveTheirModesWhateverTheUmask) {
  writer.reset();
  std::filesystem::remove_all(runDir);
  auto const old = ::umask(0077);
  writer.emplace(runDir, options);
  ::umask(old);
  auto const modeOf = [&](char const* name) {
    struct stat status {};
    EXPECT_EQ(::lstat((runDir / name).c_str(), &status), 0) << name;
    return status.st_mode & 07777U;
  };
  EXPECT_EQ(modeOf("."), 0750U);
  EXPECT_EQ(modeOf("publisher.lock"), 0640U);
  EXPECT_EQ(modeOf("tables"), 0750U);
  EXPECT_EQ(modeOf("tables/data.mdb"), 0640U);
  EXPECT_EQ(modeOf("tables/lock.mdb"), 0660U);
  EXPECT_EQ(modeOf("tables/doorbell"), 0660U);
}

TEST_F(WriterTest, lostFilesAreNoticedOneByOne) {
  for (auto const* const name :
       {"publisher.lock", "tables", "tables/data.mdb", "tables/lock.mdb"}) {
    std::filesystem::remove_all(runDir / name);
    EXPECT_TRUE(writer->service()) << name;
    EXPECT_FALSE(writer->service()) << name;
  }
  std::filesystem::remove(runDir / "tables/doorbell");
  EXPECT_FALSE(writer->service());
  EXPECT_TRUE(std::filesystem::exists(runDir / "tables/doorbell"));
  std::filesystem::remove_all(runDir);
  pollfd notice{writer->noticeFd(), POLLIN, 0};
  EXPECT_EQ(::poll(&notice, 1, 0), 1);
  EXPECT_TRUE(writer->service());
  put("b", 2);
  writer->commit();
  EXPECT_THAT(linksAfterwards(), ElementsAre("b=2"));
}

TEST_F(WriterTest, nobodyIsWokenByOtherFilesOfTheRunDirectory) {
  EXPECT_FALSE(writer->service());
  std::ofstream(runDir / "net-snmp.new") << "x";
  std::filesystem::rename(runDir / "net-snmp.new", runDir / "net-snmp");
  put("a", 1);
  writer->commit();
  pollfd notice{writer->noticeFd(), POLLIN, 0};
  EXPECT_EQ(::poll(&notice, 1, 0), 0);
}

TEST_F(WriterTest, truncatedDataIsRefusedThenMadeAnew) {
  put("a", 1);
  writer->commit();
  std::filesystem::resize_file(runDir / "tables/data.mdb", 4096);
  EXPECT_THROW(put("b", 2), EnvironmentException);
  EXPECT_THROW(put("b", 2), EnvironmentException);
  EXPECT_TRUE(writer->service());
  put("c", 3);
  writer->commit();
  EXPECT_THAT(linksAfterwards(), ElementsAre("c=3"));
}

TEST_F(WriterTest, fullMapIsAnErrorThatLeavesTheLastCommit) {
  options.mapSize = 256 * 1024;
  writer.reset();
  std::filesystem::remove_all(runDir);
  writer.emplace(runDir, options);
  put("a", 1);
  writer->commit();
  try {
    for (int i = 0; i < 20'000; ++i) put("x" + std::to_string(i), i + 1);
    FAIL();
  } catch (EnvironmentException const& e) {
    EXPECT_EQ(e.reason(), EnvironmentException::Reason::noSpace);
    EXPECT_THAT(e.what(), HasSubstr("MDB_MAP_FULL"));
  }
  EXPECT_TRUE(erase("a"));
  writer->abort();
  EXPECT_THAT(linksAfterwards(), ElementsAre("a=1"));
}

struct PublishersTest : RunDirTest {};

TEST_F(PublishersTest, onlyOneAtATime) {
  ASSERT_EQ(publish(), "ok");
  Peer second;
  EXPECT_THAT(second.tell("publish " + runDir.string()),
              MatchesRegex("error: " + runDir.string() +
                           ": peer \\(pid [0-9]+\\) publishes here already; stop it or choose "
                           "another run directory"));
  std::filesystem::remove_all(runDir);
  ASSERT_EQ(second.tell("publish " + runDir.string()), "ok");
  EXPECT_THAT(publisher.tell("service"), HasSubstr("publishes here already"));
  second.kill();
  EXPECT_FALSE(publisherInfo(runDir)->alive);
  EXPECT_EQ(publish(), "ok");
  auto const info = *publisherInfo(runDir);
  EXPECT_TRUE(info.alive);
  // It may hang before it tells anything.
  EXPECT_EQ(info.keeping(info.startedAt), Keeping::starting);
  EXPECT_EQ(info.keeping(info.startedAt + 60), Keeping::still);
}

TEST_F(PublishersTest, stoppedReaderDoesNotFillTheMemory) {
  ASSERT_EQ(publish("pinnedMax 100000 logMax 100"), "ok");
  publisher.tell("links 0 1000 1");
  publisher.tell("commit");
  Peer stopped;
  ASSERT_EQ(stopped.tell("hold " + runDir.string()), "1");
  stopped.signal(SIGSTOP);
  auto const rewrite = [&](int ifIndex) {
    for (int i = 0; i < 20; ++i) {
      publisher.tell("links 0 1000 " + std::to_string(ifIndex + i));
      publisher.tell("commit");
    }
  };
  auto const allocated = [&] {
    struct stat status {};
    ::stat((tables() / "data.mdb").c_str(), &status);
    return status.st_blocks * 512;
  };
  rewrite(100);
  EXPECT_EQ(publisher.tell("service"), "0");
  auto const pinned = allocated();
  publisher.tell("advance 11");
  EXPECT_EQ(publisher.tell("service"), "0");
  EXPECT_LT(allocated(), pinned / 2);
  EXPECT_THAT(publisher.tell("log"), HasSubstr("a stopped reader pinned"));
  rewrite(200);
  EXPECT_LT(allocated(), pinned);
  Reader const reader(runDir);
  EXPECT_EQ(reader.snapshot().get<LinkTable>(Dovel::IntfId("if0000999"))->ifIndex, 219);
  stopped.signal(SIGCONT);
  stopped.kill();
}

TEST_F(PublishersTest, fullMapIsFreedOfAStoppedReader) {
  ASSERT_EQ(publish("mapSize 1048576 logMax 100"), "ok");
  publisher.tell("links 0 1000 1");
  publisher.tell("commit");
  Peer stopped;
  ASSERT_EQ(stopped.tell("hold " + runDir.string()), "1");
  for (int i = 2; i < 100; ++i) {
    ASSERT_EQ(publisher.tell("links 0 1000 " + std::to_string(i)), "ok");
    ASSERT_THAT(publisher.tell("commit"), MatchesRegex("[0-9]+")) << i;
  }
  Reader const reader(runDir);
  EXPECT_EQ(reader.snapshot().get<LinkTable>(Dovel::IntfId("if0000999"))->ifIndex, 99);
}

}  // namespace
}  // namespace Pondo::Test
