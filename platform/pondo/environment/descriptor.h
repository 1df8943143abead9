#pragma once
// A file descriptor with an owner: dropping it closes it.

#include <utility>

#include <sys/types.h>
#include <unistd.h>

namespace Pondo {

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }

  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

/// Tells which file a path or a descriptor leads to. A file that was replaced has another one.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  bool operator==(FileIdentity const&) const = default;
};

}  // namespace Pondo
