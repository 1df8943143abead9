#pragma once
// An owned file descriptor; closed when dropped.

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

/// Which file a path or a descriptor leads to.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  bool operator==(FileIdentity const&) const = default;
};

}  // namespace Pondo
