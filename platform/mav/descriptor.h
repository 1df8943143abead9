#pragma once
// A file descriptor with an owner: dropping it closes it.

#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace Mav {

/// What close(2) answers is not looked at: write(2) has told what became of the data.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  /// Swaps: what was held is closed when `other` goes.
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }

  /// -1 where there is none. It stays this object's: nobody else closes it.
  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

/// Opens /dev/null as each of the descriptors 0 to 2 that is closed: else a table would get its
/// number, and with it what is written to stdout and stderr. At the start of a program.
inline void openStandardDescriptors() {
  int fd = 0;
  while (fd >= 0 && fd <= STDERR_FILENO) fd = ::open("/dev/null", O_RDWR);
  if (fd >= 0) ::close(fd);
}

}  // namespace Mav
