// What a reader says to every kind of unusable run directory, and what the next publisher does.

#include <fstream>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "platform/pondo/environment/reader.h"
#include "platform/pondo/environment/run_dir.h"
#include "platform/pondo/tables/format.h"
#include "tests/platform/pondo/peer_process.h"

namespace Pondo::Test {
namespace {

namespace fs = std::filesystem;
using Reason = EnvironmentException::Reason;

/// What opening a reader says: "" when it opens.
struct Said {
  std::string text;
  Reason reason = Reason::other;
};

Said readerSays(fs::path const& runDir) {
  try {
    Reader const reader(runDir);
    static_cast<void>(reader.snapshot());
    return {};
  } catch (EnvironmentException const& e) {
    return {e.what(), e.reason()};
  }
}

struct FilesTest : RunDirTest {
  void SetUp() override {
    ASSERT_EQ(publish(), "ok");
    publisher.tell("link a 1");
    publisher.tell("commit");
    publisher.tell("close");
  }

  void expectRefused(Reason reason, std::string const& text) {
    auto const said = readerSays(runDir);
    EXPECT_EQ(said.text, text);
    EXPECT_EQ(said.reason, reason);
  }

  /// The next publisher brings the tables back and tells why they are new.
  void expectMadeAnew(std::string const& why) {
    EXPECT_EQ(publish(), "ok");
    EXPECT_THAT(publisher.tell("log"), testing::HasSubstr(why));
    publisher.tell("link b 2");
    EXPECT_EQ(publisher.tell("commit"), "1");
    Reader const reader(runDir);
    auto const snapshot = reader.snapshot();
    EXPECT_EQ(snapshot.count(TableId::link), 1U);
  }

  void expectRefusedAndMadeAnew(Reason reason, std::string const& text) {
    expectRefused(reason, text);
    expectMadeAnew("because of " + text);
  }

  /// Puts `to` wherever `from` stands in the shared file, of which only the start is used.
  void patch(std::string const& from, std::string const& to) const {
    std::fstream file(data(), std::ios::in | std::ios::out | std::ios::binary);
    std::string bytes(1 << 17, '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.clear();
    for (auto at = bytes.find(from); at != bytes.npos; at = bytes.find(from, at + 1)) {
      file.seekp(static_cast<std::streamoff>(at));
      file << to;
    }
  }

  std::string data() const { return (tables() / "data.mdb").string(); }
};

TEST_F(FilesTest, absent) {
  fs::remove(tables() / "data.mdb");
  expectRefused(Reason::absent, data() +
                                    ": cannot read: No such file or directory; start kelbased, or "
                                    "set KELBASE_RUNDIR to its run directory");
  fs::remove_all(runDir);
  expectRefused(Reason::absent, runDir.string() +
                                    ": cannot open: No such file or directory; start kelbased, or "
                                    "set KELBASE_RUNDIR to its run directory");
  EXPECT_EQ(publisherInfo(runDir), std::nullopt);
}

TEST_F(FilesTest, thePathIsTheKernels) {
  fs::create_directories(directory.path() / "far/deep");
  fs::create_directory_symlink("far/deep", directory.path() / "link");
  auto const path = directory.path() / "link/../run//";
  ASSERT_EQ(Peer().tell("publish " + path.string()), "ok");
  EXPECT_TRUE(publisherInfo(path));
}

TEST_F(FilesTest, truncated) {
  fs::resize_file(data(), 9000);
  EXPECT_EQ(readerSays(runDir).reason, Reason::truncated);
  EXPECT_THAT(
      readerSays(runDir).text,
      testing::MatchesRegex(data() + ": truncated to 9000 bytes, [0-9]+ are in use; restart "
                                     "the publisher, which makes it anew"));
  for (int const size : {8191, 4096, 100, 0}) {
    fs::resize_file(data(), static_cast<std::uintmax_t>(size));
    EXPECT_EQ(readerSays(runDir).reason, Reason::truncated) << size;
  }
  expectMadeAnew("are made anew, because of " + data() + ": truncated to 0 bytes");
}

TEST_F(FilesTest, foreignFileIsKeptAside) {
  fs::remove(data());
  std::ofstream(data()) << std::string(20'000, 'x');
  expectRefusedAndMadeAnew(Reason::foreign,
                           data() + ": not a table file; remove it and restart the publisher");
  bool kept = false;
  for (auto const& entry : fs::directory_iterator(runDir)) {
    auto const file = entry.path() / "data.mdb";
    if (entry.is_directory() && fs::file_size(file) == 20'000) kept = true;
  }
  EXPECT_TRUE(kept);
}

TEST_F(FilesTest, foreignTables) {
  patch("meta", "mete");
  expectRefusedAndMadeAnew(Reason::foreign, data() +
                                                ": holds other data (no table \"meta\"); "
                                                "remove it and restart the publisher");
  publisher.tell("close");
  patch("OVOT", "XVOT");
  expectRefusedAndMadeAnew(Reason::foreign,
                           data() + ": holds other data; remove it and restart the publisher");
}

TEST_F(FilesTest, otherSchemaVersion) {
  constexpr auto ours = char{Format::schemaVersion};
  patch(std::string("OVOT") + ours, std::string("OVOT") + char{ours + 1});
  expectRefusedAndMadeAnew(
      Reason::schema,
      fmt::format("{}: has schema version {}, this program needs {}; install publisher and readers "
                  "of one version and restart them",
                  data(), ours + 1, int{ours}));
}

TEST_F(FilesTest, linksAreNotFollowed) {
  auto const elsewhere = directory.path() / "elsewhere";
  fs::rename(data(), elsewhere);
  fs::create_symlink(elsewhere, data());
  expectRefused(Reason::foreign,
                data() + ": not a regular file; remove it and restart the publisher");
  fs::remove(data());
  ASSERT_EQ(::mkfifo(data().c_str(), 0600), 0);
  EXPECT_EQ(readerSays(runDir).reason, Reason::foreign);
  fs::remove_all(tables());
  fs::create_directory(directory.path() / "other");
  std::ofstream(directory.path() / "other/data.mdb") << "precious";
  fs::create_directory_symlink(directory.path() / "other", tables());
  expectRefusedAndMadeAnew(
      Reason::foreign,
      tables().string() + ": not a directory; remove it and restart the publisher");
  EXPECT_EQ(fs::file_size(directory.path() / "other/data.mdb"), 8U);
  publisher.tell("close");
  fs::remove(runDir / "publisher.lock");
  fs::create_symlink(elsewhere, runDir / "publisher.lock");
  EXPECT_THAT(publish(), testing::HasSubstr("error: "));
}

TEST_F(FilesTest, whatAnEarlierPublisherLeftBesideTheTablesIsRemoved) {
  for (auto const* const name : {"tables.new.abcdef", "tables.foreign.abcdef"}) {
    fs::create_directory(runDir / name);
    std::ofstream(runDir / name / "data.mdb") << "half";
  }
  std::ofstream(runDir / "tables.foreign.ghijkl") << "a file";
  ASSERT_EQ(publish(), "ok");
  for (auto const& entry : fs::directory_iterator(runDir)) {
    EXPECT_THAT(entry.path().filename().string(), testing::Not(testing::StartsWith("tables.")));
  }
}

TEST_F(FilesTest, tablesThatAPublisherDiedOfAreMadeAnew) {
  ASSERT_EQ(publish(), "ok");
  publisher.kill();  // before its first commit
  Peer second;
  ASSERT_EQ(second.tell("publish " + runDir.string()), "ok");
  EXPECT_THAT(second.tell("log"), testing::HasSubstr("died while it opened the tables"));
  EXPECT_EQ(second.tell("commit"), "0");
  second.kill();
  Peer third;
  ASSERT_EQ(third.tell("publish " + runDir.string()), "ok");
  EXPECT_EQ(third.tell("log"), "");
}

TEST_F(FilesTest, oneEnvironmentAProcessAndOneSnapshotAReader) {
  Reader const reader(runDir);
  auto const first = reader.snapshot();
  EXPECT_THROW(static_cast<void>(reader.snapshot()), EnvironmentException);
  EXPECT_EQ(
      readerSays(runDir).text,
      tables().string() + ": is open in this process already; close that reader or writer first");
}

}  // namespace
}  // namespace Pondo::Test
