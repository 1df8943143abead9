#include "stats/stats_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/mav/descriptor.h"

namespace Ip {

namespace {

struct PathChoice {
  char const* variable;
  char const* otherwise;
  std::optional<std::string> chosen{};
};

// In the order of StatsFile. A local static: no code runs when the module is loaded.
std::array<PathChoice, 3>& pathChoices() {
  static std::array<PathChoice, 3> choices{{{"PROC_NET_SNMP", "/proc/net/snmp"},
                                            {"PROC_NET_NETSTAT", "/proc/net/netstat"},
                                            {"PROC_NET_SNMP6", "/proc/net/snmp6"}}};
  return choices;
}

bool isRegular(int fd) {
  struct stat status {};
  return ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

/// As read(2), restarted after a signal.
ssize_t readOn(int fd, char* to, std::size_t size) {
  ssize_t count = 0;
  do {
    count = ::read(fd, to, size);
  } while (count < 0 && errno == EINTR);
  return count;
}

}  // namespace

std::string const& statsPath(StatsFile file) {
  PathChoice& choice = pathChoices().at(static_cast<std::size_t>(file));
  if (!choice.chosen) {
    char const* const set = std::getenv(choice.variable);
    // Kept, not asked for each time: a row must not change its source under a manager that counts
    // differences.
    choice.chosen = set ? set : choice.otherwise;
  }
  return *choice.chosen;
}

void forgetStatsPaths() {
  for (PathChoice& choice : pathChoices()) choice.chosen.reset();
}

bool readStatsFile(std::string const& path, std::string& text) {
  // More than any of the three has: the first read takes it whole, the second finds its end.
  constexpr std::size_t usualSize = 16U << 10U;
  text.clear();
  // O_NONBLOCK: a FIFO without a writer would block the daemon in open(2), and some files of proc
  // that are regular by name (kmsg) would block it in read(2).
  Mav::Descriptor const file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  // Of the open file, not of the path: what is there may have been replaced in between.
  if (!isRegular(file.get())) return false;

  // A file of /proc has no size that could be asked for: it is read until it ends.
  std::size_t used = 0;
  while (used < statsFileSizeMax) {
    if (used == text.size()) text.resize(std::clamp(2 * used, usualSize, statsFileSizeMax));
    ssize_t const count = readOn(file.get(), text.data() + used, text.size() - used);
    if (count < 0) return false;
    if (count == 0) break;
    used += static_cast<std::size_t>(count);
  }
  text.resize(used);
  return true;
}

}  // namespace Ip
