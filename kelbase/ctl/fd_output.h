#pragma once
// A stream over a descriptor that tells why a write failed: std::system_error with the errno of
// write(2), thrown out of the operation that wrote. (std::cout keeps no errno, and a broken pipe
// has to be told from a full disk.) The descriptor stays the caller's.

#include <array>
#include <ostream>
#include <streambuf>

namespace Kelbase::Ctl {

class FdBuffer : public std::streambuf {
 public:
  explicit FdBuffer(int fd);

 protected:
  int_type overflow(int_type c) override;
  int sync() override;

 private:
  void drain();

  int fd_;
  std::array<char, 16384> buffer_;
};

class FdOutput : private FdBuffer, public std::ostream {
 public:
  explicit FdOutput(int fd);
};

}  // namespace Kelbase::Ctl
