// kelbased as a process, seen from outside: its exit status, its log, its service manager.

#include <csignal>
#include <fstream>
#include <optional>
#include <sstream>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kelbase/daemon_options.h"
#include "kelbase/log_lines.h"
#include "tests/kelbase/scratch_dir.h"

namespace Kelbase {
namespace {

using testing::HasSubstr;

/// A service manager's end of sd_notify(3).
class NotifySocket {
 public:
  explicit NotifySocket(std::string const& path)
      : fd_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  ~NotifySocket() { close(fd_); }
  NotifySocket(NotifySocket const&) = delete;
  NotifySocket& operator=(NotifySocket const&) = delete;

  /// Waits for a message that contains `text`, at most 20 s.
  bool heard(std::string const& text) {
    for (pollfd entry{fd_, POLLIN, 0}; poll(&entry, 1, 20'000) == 1;) {
      char buffer[1024];
      auto const size = recv(fd_, buffer, sizeof buffer, 0);
      if (size < 0) return false;
      if (std::string_view(buffer, static_cast<std::size_t>(size)).find(text) != std::string::npos)
        return true;
    }
    return false;
  }

 private:
  int fd_;
};

class DaemonTest : public testing::Test {
 protected:
  ~DaemonTest() override {
    for (auto const pid : running_) {
      kill(pid, SIGKILL);
      waitpid(pid, nullptr, 0);
    }
  }

  pid_t start(std::vector<std::string> options = {}) {
    options.insert(options.begin(), {KELBASED_PATH, "--rundir", runDir_});
    auto const arguments = pointers(options);
    std::vector<std::string> environment{"WATCHDOG_USEC=200000",
                                         "NOTIFY_SOCKET=" + (scratch_ / "notify").string()};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, (scratch_ / "log").c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t pid = 0;
    EXPECT_EQ(posix_spawn(&pid, KELBASED_PATH, &actions, nullptr, arguments.data(),
                          pointers(environment).data()),
              0);
    posix_spawn_file_actions_destroy(&actions);
    running_.push_back(pid);
    return pid;
  }

  /// The exit status; nothing when it does not end by itself within 20 s.
  std::optional<int> ended(pid_t pid) {
    int const fd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
    pollfd entry{fd, POLLIN, 0};
    int const count = poll(&entry, 1, 20'000);
    close(fd);
    if (count != 1) return std::nullopt;
    int status = 0;
    waitpid(pid, &status, 0);
    std::erase(running_, pid);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  std::string log() const {
    std::ostringstream result;
    result << std::ifstream(scratch_ / "log").rdbuf();
    return result.str();
  }

  ScratchDir scratch_;
  std::string runDir_ = scratch_ / "run";
  NotifySocket manager_{scratch_ / "notify"};

 private:
  static std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (auto& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
  }

  std::vector<pid_t> running_;
};

TEST_F(DaemonTest, TellsItsServiceManager) {
  auto const kelbased = start();
  for (auto const* text : {"READY=1", "STATUS=", "WATCHDOG=1", "WATCHDOG=1"}) {
    EXPECT_TRUE(manager_.heard(text)) << text;
  }
  kill(kelbased, SIGTERM);
  EXPECT_EQ(ended(kelbased), 0);
  EXPECT_TRUE(manager_.heard("STOPPING=1"));
  EXPECT_THAT(log(), HasSubstr("kelbased: publishing in "));
}

TEST_F(DaemonTest, WhatCannotWorkIsSaidInOneLine) {
  struct Row {
    std::string runDir;
    std::vector<std::string> options;
    int status;
    std::string error;
  };
  for (auto const& row : {
           Row{runDir_, {"--group", "no-such-group"}, 1, "kelbased: group no-such-group: "},
           Row{"/proc/no-such-place", {}, 1, "kelbased: /proc/no-such-place: "},
           Row{runDir_, {"--no-such-option"}, 2, "--no-such-option"},
       }) {
    runDir_ = row.runDir;
    EXPECT_EQ(ended(start(row.options)), row.status);
    EXPECT_THAT(log(), HasSubstr(row.error));
  }
}

TEST(LogLines, CarryTheJournalsPriorities) {
  EXPECT_EQ(logLine(Mav::Severity::error, "x", true), "<3>x\n");
  EXPECT_EQ(logLine(Mav::Severity::debug, "x", true), "<7>x\n");
  EXPECT_EQ(logLine(Mav::Severity::error, "x", false), "kelbased: x\n");
}

}  // namespace
}  // namespace Kelbase
