#include "platform/pondo/environment/reader_report.h"

#include <fstream>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "platform/mav/time.h"
#include "platform/pondo/tables/format.h"
#include "tests/platform/pondo/peer_process.h"

namespace Pondo::Test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

struct ReaderReportTest : testing::Test {
  void SetUp() override { makeReadersFile(directory.path(), std::nullopt); }

  /// "VERSION GENERATION/RESYNCS/BAD" of every living reader.
  std::vector<std::string> shown() const {
    std::vector<std::string> result;
    for (auto const& info : readerReports(directory.path()).readers) {
      EXPECT_EQ(info.pid, ::getpid());
      EXPECT_EQ(info.program, "pondo_test");
      result.push_back(
          fmt::format("{} {}/{}/{}", info.version, info.generation, info.resyncs, info.badRecords));
    }
    return result;
  }
  void turnAfter(double seconds) {
    time.advance(seconds);
    activity.deliver();
  }

  ScratchDir directory;
  fs::path const file = directory.path() / Format::readersFile;
  Mav::SimulatedTime time;
  Mav::Activity activity;
  ReaderReport report{activity, directory.path(), "1.0"};
};

TEST_F(ReaderReportTest, whatIsNoReadersFileIsLeftAloneUntilItIsReplaced) {
  auto const elsewhere = directory.path() / "elsewhere";
  fs::copy_file(file, elsewhere);
  auto const puts = {+[](fs::path const&) {},
                     +[](fs::path const& at) { ::mkfifo(at.c_str(), 0600); },
                     +[](fs::path const& at) { std::ofstream(at) << "short"; },
                     +[](fs::path const& at) { fs::create_symlink("elsewhere", at); }};
  for (auto const put : puts) {
    fs::remove(file);
    put(file);
    report.look();
    turnAfter(1);
    EXPECT_THAT(shown(), IsEmpty());
    makeReadersFile(directory.path(), std::nullopt);
    report.look();
    turnAfter(1);
    EXPECT_THAT(shown(), ElementsAre("1.0 0/0/0"));
  }
  EXPECT_THAT(readerReports(directory.path() / "nowhere").readers, IsEmpty());
}

TEST_F(ReaderReportTest, fieldsThatCannotBeAreNotShown) {
  report.look();
  turnAfter(0);
  for (std::size_t const at : {std::size_t{0}, offsetof(Readers::Slot, pid) + 3,
                               offsetof(Readers::Slot, program), sizeof(Readers::Slot) - 24}) {
    std::fstream(file).seekp(static_cast<std::streamoff>(at)) << '\x9b';
    auto const reports = readerReports(directory.path());
    EXPECT_THAT(reports.readers, IsEmpty()) << at;
    EXPECT_EQ(reports.malformed, 1U) << at;
    report.stateIs(at + 1, 0, 0);  // writes it again
    turnAfter(1);
  }
}

}  // namespace
}  // namespace Pondo::Test
