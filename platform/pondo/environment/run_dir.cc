#include "platform/pondo/environment/run_dir.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/pondo/environment/lmdb_handles.h"
#include "platform/pondo/tables/format.h"

namespace Pondo {
namespace {

std::string readStart(int fd, std::filesystem::path const& file) {
  std::array<char, 1024> buffer{};
  auto const got = ::pread(fd, buffer.data(), buffer.size(), 0);
  if (got < 0) throwCode(errno, file, "read");
  return {buffer.data(), static_cast<std::size_t>(got)};
}

template <class Number>
void parseNumber(std::string_view text, Number& number) {
  std::from_chars(text.data(), text.data() + text.size(), number);
}

// Lines "name=...", "pid=...", "started=..."; what is missing keeps its default.
void parseLines(std::string_view text, PublisherInfo& info) {
  while (!text.empty()) {
    auto const line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    auto const equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    auto const field = line.substr(0, equals);
    auto const value = line.substr(equals + 1);
    if (field == "name") info.name = value;
    if (field == "pid") parseNumber(value, info.pid);
    if (field == "started") parseNumber(value, info.startedAt);
  }
}

bool isLocked(int fd, std::filesystem::path const& file) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  if (::fcntl(fd, F_OFD_GETLK, &lock) != 0) throwCode(errno, file, "test the lock of");
  return lock.l_type != F_UNLCK;
}

}  // namespace

std::filesystem::path defaultRunDir() {
  char const* const set = std::getenv("KELBASE_RUNDIR");
  return set != nullptr && *set != '\0' ? set : "/run/kelbase";
}

std::optional<PublisherInfo> publisherInfo(std::filesystem::path const& runDir) {
  auto const file = runDir / Format::publisherLockFile;
  Descriptor const fd(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  if (!fd && errno == ENOENT) return std::nullopt;
  if (!fd) throwCode(errno, file, "open");
  struct stat status {};
  if (::fstat(fd.get(), &status) != 0) throwCode(errno, file, "read");
  if (!S_ISREG(status.st_mode)) {
    throw EnvironmentException(file.string() + ": not a regular file; remove it",
                               EnvironmentException::Reason::foreign);
  }
  PublisherInfo info;
  parseLines(readStart(fd.get(), file), info);
  info.seenAt = static_cast<double>(status.st_mtim.tv_sec) +
                static_cast<double>(status.st_mtim.tv_nsec) * 1e-9;
  // F_OFD_GETLK asks and takes nothing. The process id in the file proves nothing: it may be
  // another process's by now.
  info.alive = isLocked(fd.get(), file);
  return info;
}

}  // namespace Pondo
