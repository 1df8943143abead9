#pragma once
// A stream over a descriptor that tells why a write failed: std::system_error with the errno of
// write(2), thrown out of the operation that wrote. (std::cout keeps no errno, and a broken pipe
// has to be told from a full disk.) The descriptor stays the caller's.
//
// Buffers 16 KiB, which whoever writes flushes at the end (run()): what is in the buffer when the
// object goes is dropped, since a destructor could tell nobody of a full disk.

#include <array>
#include <ostream>
#include <streambuf>

namespace Kelbase::Ctl {

/// Writes to a descriptor. A part of a write is written on; EINTR is none of the caller's concern.
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

/// The buffer is a base and comes first: std::ostream gets it when it is made.
class FdOutput : private FdBuffer, public std::ostream {
 public:
  explicit FdOutput(int fd);
};

}  // namespace Kelbase::Ctl
