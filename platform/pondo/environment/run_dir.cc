#include "platform/pondo/environment/run_dir.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/mav/time.h"
#include "platform/pondo/environment/lmdb_handles.h"
#include "platform/pondo/tables/format.h"

namespace Pondo {
namespace {

constexpr std::string_view counterPrefix = "counter.";

std::string readStart(int fd, std::filesystem::path const& file) {
  std::array<char, 4096> buffer{};
  auto const got = ::pread(fd, buffer.data(), buffer.size(), 0);
  if (got < 0) throwCode(errno, file, "read");
  return {buffer.data(), static_cast<std::size_t>(got)};
}

// A write and a read of a file exclude each other on no file system: two equal reads are whole.
std::string readWhole(int fd, std::filesystem::path const& file) {
  constexpr int triesMax = 8;
  auto text = readStart(fd, file);
  for (int i = 1; i < triesMax; ++i) {
    auto again = readStart(fd, file);
    if (again == text) break;
    text = std::move(again);
  }
  return text;
}

template <class Number>
void parseNumber(std::string_view text, Number& number) {
  // What it cannot read leaves the number alone: the field keeps its default.
  std::from_chars(text.data(), text.data() + text.size(), number);
}

void parseField(std::string_view field, std::string_view value, PublisherInfo& info) {
  // A field that only a newer publisher knows is passed over.
  if (field == "name") info.name = value;
  if (field == "version") info.version = value;
  if (field == "opening") info.opening = value == "1";
  if (field == "trouble") info.trouble = value;
  if (field == "pid") parseNumber(value, info.pid);
  if (field == "started") parseNumber(value, info.startedAt);
  if (field == "seen") parseNumber(value, info.seenAt);
  if (field == "exact") parseNumber(value, info.exactAt.emplace());
  if (field.starts_with(counterPrefix)) {
    auto& counter = info.counters.emplace_back(field.substr(counterPrefix.size()), 0);
    parseNumber(value, counter.second);
  }
}

// Lines "FIELD=VALUE"; what is missing keeps its default.
void parseLines(std::string_view text, PublisherInfo& info) {
  while (!text.empty()) {
    auto const line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    auto const equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    parseField(line.substr(0, equals), line.substr(equals + 1), info);
  }
}

// Times come counted from the machine's start; 0, which says never, stays.
void asEpoch(PublisherInfo& info) {
  double const start = machineStart();
  info.startedAt += start;
  info.seenAt += start;
  if (info.exactAt && *info.exactAt > 0) *info.exactAt += start;
}

bool isLocked(int fd, std::filesystem::path const& file) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  // l_len is 0: the whole file, as the publisher locks it.
  if (::fcntl(fd, F_OFD_GETLK, &lock) != 0) throwCode(errno, file, "test the lock of");
  return lock.l_type != F_UNLCK;
}

}  // namespace

Keeping PublisherInfo::keeping(double now) const {
  if (!alive) return Keeping::gone;
  // Who loads files (kelbasectl load) tells no such time: what they say does not grow old.
  if (!exactAt || now - *exactAt <= exactWithin) return Keeping::exact;
  // A young publisher is not blamed for what the tables were before it came.
  if (now - startedAt <= exactWithin) return Keeping::starting;
  return now - seenAt > exactWithin ? Keeping::still : Keeping::behind;
}

double PublisherInfo::age(double now) const {
  // Tables that were never exact since the publisher came are as old as it is, at least.
  double const since = !exactAt ? seenAt : *exactAt > 0 ? *exactAt : startedAt;
  // The clock may have been set since this was read.
  return std::max(0.0, now - since);
}

double sinceMachineStart() { return Mav::secondsOf(CLOCK_BOOTTIME); }

double secondsSinceEpoch() { return Mav::secondsOf(CLOCK_REALTIME); }

double machineStart() { return secondsSinceEpoch() - sinceMachineStart(); }

std::filesystem::path defaultRunDir() {
  char const* const set = std::getenv("KELBASE_RUNDIR");
  return set != nullptr && *set != '\0' ? set : "/run/kelbase";
}

std::filesystem::path plainPath(std::filesystem::path const& path) {
  auto plain = std::filesystem::absolute(path);
  // Behind a link the kernel's ".." is not the directory before it (path_resolution(7)).
  if (std::find(plain.begin(), plain.end(), "..") == plain.end()) plain = plain.lexically_normal();
  return plain.has_filename() ? plain : plain.parent_path();
}

std::optional<PublisherInfo> publisherInfo(std::filesystem::path const& runDir) {
  auto const file = runDir / Format::publisherLockFile;
  // O_NONBLOCK: a FIFO in the file's place would stop who opens it (fifo(7)).
  Mav::Descriptor const fd(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  // Also where the run directory is absent, of which whoever opens the tables is told.
  if (!fd && errno == ENOENT) return std::nullopt;
  if (!fd) throwCode(errno, file, "open");
  struct stat status {};
  if (::fstat(fd.get(), &status) != 0) throwCode(errno, file, "read");
  if (!S_ISREG(status.st_mode)) {
    throw EnvironmentException(file.string() + ": not a regular file; remove it",
                               EnvironmentException::Reason::foreign);
  }
  PublisherInfo info;
  parseLines(readWhole(fd.get(), file), info);
  asEpoch(info);
  // F_OFD_GETLK asks and takes nothing. The process id in the file proves nothing: it may be
  // another process's by now.
  info.alive = isLocked(fd.get(), file);
  return info;
}

}  // namespace Pondo
