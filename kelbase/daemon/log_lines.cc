#include "kelbase/daemon/log_lines.h"

#include <array>
#include <cstdlib>
#include <iterator>
#include <new>
#include <string>
#include <string_view>

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/mav/trace_handle.h"

namespace Kelbase {
namespace {

/// syslog(3) priorities, in the order of Mav::Severity.
constexpr std::array priorities{3, 4, 5, 6, 7};

/// A line as it is written, newline included. Wants no memory of its own.
template <class Out>
Out putLine(Out out, Mav::Severity severity, std::string_view text, bool journal) {
  if (!journal) return fmt::format_to(out, "kelbased: {}\n", text);
  return fmt::format_to(out, "<{}>{}\n", priorities.at(static_cast<std::size_t>(severity)), text);
}

/// $JOURNAL_STREAM names the device and inode of the journal's stream (systemd.exec(5)).
bool stderrIsJournal() {
  char const* const stream = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  // The variable alone does not tell: it is inherited by a process whose stderr leads elsewhere.
  if (!stream || fstat(STDERR_FILENO, &status) != 0) return false;
  std::array<char, 64> own{};  // on the stack: there may be no memory (endWithoutMemory)
  auto* const end = fmt::format_to(own.data(), "{}:{}", status.st_dev, status.st_ino);
  return std::string_view(own.data(), static_cast<std::size_t>(end - own.data())) == stream;
}

}  // namespace

void endWithoutMemory() {
  std::set_new_handler([] {
    std::array<char, 128> line{};
    auto* const end = putLine(line.data(), Mav::Severity::error,
                              "out of memory: ends, to be started again", stderrIsJournal());
    auto const size = static_cast<std::size_t>(end - line.data());
    [[maybe_unused]] ssize_t const written = write(STDERR_FILENO, line.data(), size);
    // Not exit(3), which runs what may want memory again.
    _exit(1);
  });
}

void logToStderr() {
  bool const journal = stderrIsJournal();
  Mav::traceSinkIs([journal](Mav::Severity severity, std::string_view text) {
    std::string line;
    putLine(std::back_inserter(line), severity, text, journal);
    // One write a line, so that lines of several processes do not mix. Nowhere to tell if it fails.
    [[maybe_unused]] ssize_t const written = write(STDERR_FILENO, line.data(), line.size());
  });
}

}  // namespace Kelbase
