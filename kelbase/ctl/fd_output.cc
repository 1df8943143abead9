#include "kelbase/ctl/fd_output.h"

#include <cerrno>

#include <system_error>
#include <unistd.h>

namespace Kelbase::Ctl {

FdBuffer::FdBuffer(int fd) : fd_(fd) { setp(buffer_.data(), buffer_.data() + buffer_.size()); }

void FdBuffer::drain() {
  char const* from = pbase();
  char const* const to = pptr();
  // What cannot be written is dropped: a later flush must not fail on it again.
  setp(buffer_.data(), buffer_.data() + buffer_.size());
  while (from != to) {
    ssize_t const written = ::write(fd_, from, static_cast<std::size_t>(to - from));
    if (written >= 0) {
      from += written;
    } else if (errno != EINTR) {
      throw std::system_error(errno, std::generic_category());
    }
  }
}

FdBuffer::int_type FdBuffer::overflow(int_type c) {
  drain();
  if (!traits_type::eq_int_type(c, traits_type::eof())) sputc(traits_type::to_char_type(c));
  return traits_type::not_eof(c);
}

// Called by a flush. An error is thrown: -1 would only set badbit, and say nothing of why.
int FdBuffer::sync() {
  drain();
  return 0;
}

FdOutput::FdOutput(int fd) : FdBuffer(fd), std::ostream(this) {
  exceptions(std::ios_base::badbit);  // passes what drain() throws on to the caller
}

}  // namespace Kelbase::Ctl
