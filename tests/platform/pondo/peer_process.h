#pragma once
// The test's end of a peer process (peer.cc), and what the tests of this folder share.

#include <cstdio>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <sys/types.h>

#include "tests/support/log_lines.h"
#include "tests/support/scratch_dir.h"

namespace Pondo::Test {

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

/// A run directory that a peer publishes.
class RunDirTest : public testing::Test {
 protected:
  std::string publish(std::string const& options = {}) {
    return publisher.tell("publish " + runDir.string() + " " + options);
  }
  std::filesystem::path tables() const { return runDir / "tables"; }

  ScratchDir directory;
  std::filesystem::path const runDir = directory.path() / "run";
  Peer publisher;
};

}  // namespace Pondo::Test
