#include "kelbase/ctl/check/tool.h"

#include <array>
#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace Kelbase::Ctl {
namespace {

/// Starts it with both outputs at `out`; 0 when there is no such program.
pid_t start(std::vector<std::string> const& command, int out) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (auto const& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  // The copies stay open in the program; the pipe's own ends do not (O_CLOEXEC).
  ::posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, out, STDERR_FILENO);
  pid_t pid = 0;
  // No shell between: a community with a quote or a semicolon in it stays one word.
  int const error =
      ::posix_spawnp(&pid, arguments.front(), &actions, nullptr, arguments.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? pid : 0;
}

}  // namespace

std::optional<std::string> outputOf(std::vector<std::string> const& command) {
  // Of this process as well, which reads none.
  ::setenv("MIBS", "", 1);
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return std::nullopt;
  pid_t const pid = start(command, ends[1]);
  // The program alone is to have this end: the reads below wait until nobody has it open.
  ::close(ends[1]);
  std::string text;
  // Both outputs come by one pipe: what an error says stands where it was said.
  std::array<char, 4096> buffer{};
  for (ssize_t got = 1; pid != 0 && got != 0;) {
    got = ::read(ends[0], buffer.data(), buffer.size());
    if (got > 0) text.append(buffer.data(), static_cast<std::size_t>(got));
    if (got < 0 && errno != EINTR) break;
  }
  ::close(ends[0]);
  if (pid == 0) return std::nullopt;
  // Its exit status is not asked for: what it printed tells more.
  ::waitpid(pid, nullptr, 0);
  return text;
}

}  // namespace Kelbase::Ctl
