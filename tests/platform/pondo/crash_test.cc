// Writers are killed at random moments while a reader compares what one transaction wrote.

#include <chrono>
#include <csignal>
#include <random>

#include <gtest/gtest.h>

#include "platform/pondo/environment/reader.h"
#include "platform/pondo/environment/run_dir.h"
#include "tests/platform/pondo/peer_process.h"

namespace Pondo::Test {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int recordCount = 60;

struct CrashTest : RunDirTest {
  pid_t startChurn() {
    return std::stoi(
        publisher.tell("churn " + runDir.string() + " " + std::to_string(recordCount)));
  }

  /// All records carry the number of the transaction that wrote them.
  void expectWhole(Snapshot const& snapshot) {
    std::int32_t first = 0;
    int count = 0;
    snapshot.scan<LinkTable>("", noLimit, [&](auto const&, LinkTable::Record const& record) {
      if (count++ == 0) first = record.ifIndex;
      ASSERT_EQ(record.ifIndex, first);
    });
    ASSERT_EQ(count, snapshot.generation() == 0 ? 0 : recordCount);
  }

  /// Reads until the generation has grown by `growth`: a writer is alive and publishes.
  std::uint64_t readOn(Reader const& reader, std::uint64_t generation, std::uint64_t growth) {
    auto const deadline = Clock::now() + std::chrono::seconds(10);
    while (Clock::now() < deadline) {
      auto const snapshot = reader.snapshot();
      expectWhole(snapshot);
      if (HasFatalFailure()) return 0;
      if (snapshot.generation() >= generation + growth) return snapshot.generation();
    }
    ADD_FAILURE() << "nothing published after generation " << generation;
    return 0;
  }
};

TEST_F(CrashTest, killedWritersLeaveWholeTransactions) {
  ASSERT_EQ(publish(), "ok");
  publisher.tell("close");
  std::optional<Reader> reader(std::in_place, runDir);
  std::mt19937 random(20'240'601);
  std::uniform_int_distribution<std::uint64_t> growth(1, 40);
  std::uint64_t generation = 0;
  auto const deadline = Clock::now() + std::chrono::seconds(8);
  int kills = 0;
  for (; kills < 200 && Clock::now() < deadline; ++kills) {
    pid_t const writer = startChurn();
    generation = readOn(*reader, generation, growth(random));
    ::kill(writer, SIGKILL);
    ASSERT_FALSE(HasFailure());
    // The lock goes with the process: wait for that, reading on.
    while (publisherInfo(runDir)->alive) generation = readOn(*reader, generation, 0);
    ASSERT_TRUE(reader->current());
    // Killed before it could say that its first commit was done: the next one takes new tables.
    if (!publisherInfo(runDir)->opening) continue;
    ASSERT_EQ(publish(), "ok");
    publisher.tell("commit");
    publisher.tell("close");
    reader.emplace(runDir);
    generation = 0;
  }
  RecordProperty("kills", kills);
  EXPECT_GE(kills, 10);
}

}  // namespace
}  // namespace Pondo::Test
