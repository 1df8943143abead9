#include "platform/pondo/environment/table_files.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <fmt/format.h>
#include <grp.h>
#include <sys/stat.h>

#include "platform/mav/trace_handle.h"
#include "platform/pondo/environment/lmdb_handles.h"

namespace Pondo {
namespace {

using Reason = EnvironmentException::Reason;

// The start of an LMDB 0.9 meta page on a 64-bit machine, as far as it is looked at. Two of them
// open the file, one page apart; the one with the greater transaction id counts.
struct MetaPage {
  std::uint64_t pageNumber;
  std::uint64_t pageHeader;
  std::uint32_t magic;
  std::uint32_t version;
  std::uint64_t address;
  std::uint64_t mapSize;
  std::uint32_t pageSize;  // md_pad of the first database
  std::array<std::uint8_t, 92> databases;
  std::uint64_t lastPage;
  std::uint64_t transaction;
};
static_assert(offsetof(MetaPage, pageSize) == 40 && offsetof(MetaPage, lastPage) == 136 &&
              sizeof(MetaPage) == 152);
constexpr std::uint32_t lmdbMagic = 0xBEEFC0DE;

void requireRegular(std::filesystem::path const& file) {
  struct stat status {};
  // Not stat(2): a link would lead a publisher to somebody else's file, which it would then give
  // another mode and group (ownershipIs).
  if (::lstat(file.c_str(), &status) != 0) throwCode(errno, file, "read");
  if (!S_ISREG(status.st_mode)) throwForeign(file, "not a regular file");
}

[[noreturn]] void throwTruncated(std::filesystem::path const& file, std::uint64_t has,
                                 std::uint64_t needs) {
  throw EnvironmentException(
      fmt::format("{}: truncated to {} bytes, {} are in use; restart the publisher, which makes "
                  "it anew",
                  file.string(), has, needs),
      Reason::truncated);
}

// pread(2) into memory of our own, never through the map: a short file is then a short read.
MetaPage metaPageAt(int fd, std::uint64_t offset, std::filesystem::path const& file,
                    std::uint64_t size) {
  MetaPage page{};
  auto const got = ::pread(fd, &page, sizeof page, static_cast<off_t>(offset));
  if (got < 0) throwCode(errno, file, "read");
  if (static_cast<std::size_t>(got) != sizeof page) {
    throwTruncated(file, size, offset + sizeof page);
  }
  // Before the place of the second page is made of it: a page size of garbage would lead anywhere.
  bool const sane = page.magic == lmdbMagic && page.pageSize >= 512 && page.pageSize <= 65536 &&
                    (page.pageSize & (page.pageSize - 1)) == 0;
  if (!sane) throwForeign(file, "not a table file");
  return page;
}

void requireWhole(std::filesystem::path const& file) {
  Mav::Descriptor const fd(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  if (!fd) throwCode(errno, file, "open");
  struct stat status {};
  if (::fstat(fd.get(), &status) != 0) throwCode(errno, file, "read");
  auto const size = static_cast<std::uint64_t>(status.st_size);
  auto const first = metaPageAt(fd.get(), 0, file, size);
  auto const second = metaPageAt(fd.get(), first.pageSize, file, size);
  // LMDB writes its two meta pages in turn; the newer one says how long the file has to be.
  auto const& newest = second.transaction > first.transaction ? second : first;
  // A page number that cannot be is caught before it is multiplied, which would wrap.
  if (newest.lastPage >= UINT64_MAX / newest.pageSize ||
      size < (newest.lastPage + 1) * newest.pageSize) {
    throwTruncated(file, size, (newest.lastPage + 1) * newest.pageSize);
  }
}

}  // namespace

void checkFiles(std::filesystem::path const& tables) {
  struct stat status {};
  if (::lstat(tables.c_str(), &status) != 0) throwCode(errno, tables, "open");
  if (!S_ISDIR(status.st_mode)) throwForeign(tables, "not a directory");
  requireRegular(tables / Format::dataFile);
  requireRegular(tables / Format::lockFile);
  requireWhole(tables / Format::dataFile);
}

void throwNotMine(int code, std::filesystem::path const& path, std::string_view what) {
  // All else is the same for both sides, and has its advice in the table of codes.
  if (code != ENOENT && code != ENOTDIR && code != EACCES && code != EPERM) {
    throwCode(code, path, what);
  }
  throw EnvironmentException(
      fmt::format("{}: cannot {}: {}; choose a directory of this user's own with --rundir, or run "
                  "as the user who may write there",
                  path.string(), what, std::strerror(code)),
      code == EACCES || code == EPERM ? Reason::denied : Reason::absent);
}

gid_t groupByName(std::string const& name) {
  std::vector<char> buffer(16'384);
  struct group entry {};
  struct group* found = nullptr;
  int code = 0;
  // The buffer holds the group's members as well, of any number (getgrnam_r(3)).
  while ((code = ::getgrnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found)) ==
         ERANGE) {
    buffer.resize(buffer.size() * 2);
  }
  if (found != nullptr) return found->gr_gid;
  throw EnvironmentException(
      fmt::format("group {}: does not exist; name the group of the SNMP daemon", name));
}

void ownershipIs(std::filesystem::path const& path, mode_t mode, std::optional<gid_t> group) {
  // -1 leaves the owner as he is (chown(2)).
  constexpr auto keepUser = static_cast<uid_t>(-1);
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) throwCode(errno, path, "set the mode of");
  // Only a change is asked for: a publisher that may change nothing is not warned of what is right
  // already.
  if (group && status.st_gid != *group &&
      ::fchownat(AT_FDCWD, path.c_str(), keepUser, *group, AT_SYMLINK_NOFOLLOW) != 0) {
    Mav::log(Mav::Severity::warning,
             fmt::format("{}: cannot be given to group {}: {}; readers of that group will not "
                         "reach it",
                         path.string(), *group, std::strerror(errno)));
  }
  // Not by descriptor: closing one of lock.mdb would drop LMDB's locks.
  if ((status.st_mode & 07777U) != mode && !S_ISLNK(status.st_mode) &&
      ::chmod(path.c_str(), mode) != 0) {
    throwCode(errno, path, "set the mode of");
  }
}

bool removeTableDirectory(std::filesystem::path const& directory) noexcept {
  struct stat status {};
  if (::lstat(directory.c_str(), &status) != 0) return errno == ENOENT;
  if (!S_ISDIR(status.st_mode)) return false;  // a link's target is not ours to empty
  // Only what is ours: rmdir(2) fails where somebody keeps another file, which then stays.
  for (auto const* const name : {Format::dataFile, Format::lockFile, Format::doorbellFile}) {
    ::unlink((directory.string() + "/" + name).c_str());
  }
  return ::rmdir(directory.c_str()) == 0 || errno == ENOENT;
}

}  // namespace Pondo
