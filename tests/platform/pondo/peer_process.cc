#include "tests/platform/pondo/peer_process.h"

#include <array>
#include <csignal>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Pondo::Test {

Peer::Peer() {
  std::array<int, 2> commands{};
  std::array<int, 2> answers{};
  if (::pipe2(commands.data(), O_CLOEXEC) != 0 || ::pipe2(answers.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe2");
  }
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, commands[0], STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, answers[1], STDOUT_FILENO);
  std::string program = PONDO_PEER;
  std::array<char*, 2> arguments{program.data(), nullptr};
  int const code =
      ::posix_spawn(&pid_, program.c_str(), &actions, nullptr, arguments.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(commands[0]);
  ::close(answers[1]);
  in_ = ::fdopen(commands[1], "w");
  out_ = ::fdopen(answers[0], "r");
  if (code != 0) throw std::runtime_error("cannot start " + program);
}

Peer::~Peer() {
  std::fclose(in_);
  std::fclose(out_);
  if (pid_ > 0) ::waitpid(pid_, nullptr, 0);
}

std::string Peer::tell(std::string const& command) {
  std::fputs((command + "\n").c_str(), in_);
  std::fflush(in_);
  std::string answer;
  for (int c = std::fgetc(out_); c != EOF && c != '\n'; c = std::fgetc(out_)) {
    answer += static_cast<char>(c);
  }
  return answer;
}

void Peer::kill() {
  signal(SIGKILL);
  ::waitpid(pid_, nullptr, 0);
  pid_ = -1;
}

void Peer::signal(int number) const { ::kill(pid_, number); }

}  // namespace Pondo::Test
