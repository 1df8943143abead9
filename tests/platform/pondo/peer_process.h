#pragma once
// The test's end of a peer process (peer.cc), and what the tests of this folder share.

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <sys/types.h>

namespace Pondo::Test {

/// A fresh directory, on tmpfs where there is one, removed at the end.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(TemporaryDirectory const&) = delete;
  TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;

  std::filesystem::path const& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

class Peer {
 public:
  Peer();
  ~Peer();
  Peer(Peer const&) = delete;
  Peer& operator=(Peer const&) = delete;

  /// One command, and its answer.
  std::string tell(std::string const& command);
  /// SIGKILL, and waits for the end.
  void kill();
  void signal(int number) const;

 private:
  pid_t pid_ = -1;
  FILE* in_ = nullptr;
  FILE* out_ = nullptr;
};

/// Collects the log lines of this process while it lives.
class LoggedLines {
 public:
  LoggedLines();
  ~LoggedLines();
  LoggedLines(LoggedLines const&) = delete;
  LoggedLines& operator=(LoggedLines const&) = delete;

  /// The lines since the last call.
  std::vector<std::string> take() { return std::exchange(*lines_, {}); }

 private:
  std::shared_ptr<std::vector<std::string>> lines_;
};

/// A run directory that a peer publishes.
class RunDirTest : public testing::Test {
 protected:
  std::string publish(std::string const& options = {}) {
    return publisher.tell("publish " + runDir.string() + " " + options);
  }
  std::filesystem::path tables() const { return runDir / "tables"; }

  TemporaryDirectory directory;
  std::filesystem::path const runDir = directory.path() / "run";
  Peer publisher;
};

}  // namespace Pondo::Test
