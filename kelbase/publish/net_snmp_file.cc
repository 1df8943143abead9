#include "kelbase/publish/net_snmp_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <sstream>
#include <tuple>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include "platform/mav/descriptor.h"
#include "platform/mav/trace_handle.h"
#include "platform/pondo/environment/table_files.h"
#include "platform/pondo/tables/format.h"

namespace Kelbase {
namespace {

constexpr std::string_view tag = "Ip:";
constexpr std::array<std::string_view, 19> columns{
    "Forwarding",    "DefaultTTL",      "InReceives",   "InHdrErrors", "InAddrErrors",
    "ForwDatagrams", "InUnknownProtos", "InDiscards",   "InDelivers",  "OutRequests",
    "OutDiscards",   "OutNoRoutes",     "ReasmTimeout", "ReasmReqds",  "ReasmOKs",
    "ReasmFails",    "FragOKs",         "FragFails",    "FragCreates"};

/// Those of the next line; none where it is not whole.
std::vector<std::string> nextWords(std::istream& text) {
  std::string line;
  if (!std::getline(text, line) || text.eof()) return {};
  std::istringstream words(line);
  return {std::istream_iterator<std::string>(words), {}};
}

bool isNumber(std::string_view word) {
  return word.find_first_not_of("0123456789") == std::string_view::npos;
}

[[noreturn]] void throwErrno(char const* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

/// The beginning of a file; the kernel makes the whole of it in one read.
std::string readStart(std::filesystem::path const& file) {
  Mav::Descriptor const fd(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!fd) throwErrno("open");
  std::array<char, 4096> buffer{};
  auto const got = ::read(fd.get(), buffer.data(), buffer.size());
  if (got < 0) throwErrno("read");
  return {buffer.data(), static_cast<std::size_t>(got)};
}

/// A kernel that shows no such file needs none: the agent's reader says itself what is missing.
bool hasAnotherLayout(std::filesystem::path const& kernelFile) try {
  auto const text = readStart(kernelFile);
  return text.find('\n') + 1 != ipHeader().size();
} catch (std::system_error const&) {
  return false;
}

}  // namespace

std::string const& ipHeader() {
  static std::string const header = fmt::format("{} {}\n", tag, fmt::join(columns, " "));
  return header;
}

// By name: a column that a kernel adds, between or behind (OutTransmits), moves no other.
std::optional<std::string> ipLines(std::string_view text) {
  std::istringstream lineByLine{std::string(text)};
  auto const names = nextWords(lineByLine);
  auto const numbers = nextWords(lineByLine);
  bool const pairs = !names.empty() && names.size() == numbers.size() && names[0] == tag &&
                     numbers[0] == tag && std::all_of(numbers.begin() + 1, numbers.end(), isNumber);
  if (!pairs) return std::nullopt;
  std::string lines = ipHeader();
  lines += tag;
  for (auto const column : columns) {
    auto const found = std::find(names.begin(), names.end(), column);
    auto const at = static_cast<std::size_t>(found - names.begin());
    lines += ' ';
    // One that is absent has counted nothing that anybody knows of; the reader needs a number in
    // its place.
    lines += found == names.end() ? "0" : numbers[at];
  }
  return lines += '\n';
}

NetSnmpFile::NetSnmpFile(Mav::Activity& activity, std::filesystem::path const& runDir,
                         std::string const& group, std::filesystem::path kernelFile)
    : kernelFile_(std::move(kernelFile)),
      file_(runDir / Pondo::Format::netSnmpFile),
      staged_(file_.native() + ".new"),
      group_(group.empty() ? std::nullopt : std::optional(Pondo::groupByName(group))),
      timer_(activity.clock(), [this] { renew(); }),
      due_(Mav::now()) {
  // A publisher that was killed while it wrote has left it.
  ::unlink(staged_.c_str());
  // Found out once: a kernel does not change its layout.
  if (hasAnotherLayout(kernelFile_)) {
    renew();
  } else {
    // Nobody keeps one any more: it would stand still, and look like counters.
    ::unlink(file_.c_str());
  }
}

void NetSnmpFile::renew() {
  // From the time that was due, not from now: four a second, not nearly four.
  due_ = std::max(due_ + interval, Mav::now());
  try {
    if (wasDeleted()) {
      due_ = Mav::now() + pause;
    } else {
      renewNow();
    }
  } catch (std::system_error const& error) {
    onFailure(error);
  }
  // Whatever went wrong: the file is tried again.
  timer_.timeMinIs(due_);
}

/// True once for each time: the next turn makes the file anew.
bool NetSnmpFile::wasDeleted() {
  return std::exchange(isThere_, false) && ::access(file_.c_str(), F_OK) != 0;
}

void NetSnmpFile::renewNow() {
  auto const lines = ipLines(readStart(kernelFile_));
  // The old file stays: its counters are true of a moment ago.
  if (!lines) throw std::system_error(ENOMSG, std::generic_category(), kernelFile_.native());
  write(*lines);
  // From here on a file that is not there was deleted by somebody.
  isThere_ = true;
  if (!std::exchange(failing_, false)) return;
  Mav::log(Mav::Severity::notice, file_.native() + ": is kept again");
}

void NetSnmpFile::write(std::string_view text) const {
  constexpr mode_t mode = 0640;
  Mav::Descriptor const fd(
      ::open(staged_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, mode));
  if (!fd) throwErrno("open");
  // Whether the group may be given to files, the tables have told.
  if (group_) std::ignore = ::fchown(fd.get(), static_cast<uid_t>(-1), *group_);
  // A file system that fills up takes a part first, and says so by the count alone (write(2)).
  auto const wrote = ::write(fd.get(), text.data(), text.size());
  // open(2) has taken the umask off the mode.
  if (::fchmod(fd.get(), mode) != 0 || wrote < 0) throwErrno("write");
  if (static_cast<std::size_t>(wrote) != text.size()) {
    throw std::system_error(ENOSPC, std::generic_category(), "write");
  }
  // A reader finds the old file or the new one, each whole (rename(2)).
  if (::rename(staged_.c_str(), file_.c_str()) != 0) throwErrno("replace");
}

void NetSnmpFile::onFailure(std::system_error const& error) {
  // A part of a file helps nobody, and takes room.
  ::unlink(staged_.c_str());
  due_ = Mav::now() + pause;
  // Without its directory: the publisher makes that anew, and tells.
  if (error.code() == std::errc::no_such_file_or_directory) return;
  if (std::exchange(failing_, true)) return;
  Mav::log(Mav::Severity::warning,
           fmt::format("{}: cannot be kept: {}; the IPv4 counters stand still; trying again every "
                       "second",
                       file_.native(), error.what()));
}

}  // namespace Kelbase
