#pragma once
// Tells which file a path or a descriptor leads to. A file that was replaced has another one: as
// long as the old one is open somewhere, the file system gives its number to no other.

#include <filesystem>
#include <optional>

#include <sys/stat.h>

namespace Pondo {

struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  bool operator==(FileIdentity const&) const = default;
};

/// Of what a path leads to now, without following a symbolic link; nothing when there is nothing,
/// or it is out of reach.
inline std::optional<FileIdentity> identityAt(std::filesystem::path const& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
  return FileIdentity{status.st_dev, status.st_ino};
}

/// Of an open file; nothing where there is none.
inline std::optional<FileIdentity> identityOf(int fd) {
  struct stat status {};
  if (::fstat(fd, &status) != 0) return std::nullopt;
  return FileIdentity{status.st_dev, status.st_ino};
}

}  // namespace Pondo
