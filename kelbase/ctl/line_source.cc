#include "kelbase/ctl/line_source.h"

#include <cerrno>
#include <istream>
#include <utility>

#include <system_error>

namespace Kelbase::Ctl {

LineSource::LineSource(std::istream& in, std::function<void(std::uint64_t)> onBlock)
    : in_(in), onBlock_(std::move(onBlock)) {}

bool LineSource::fill() {
  // A stream keeps no errno; that of the read that failed stands there still.
  errno = 0;
  in_.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
  // A short read at the end is no fault: it sets eofbit and failbit alone.
  if (in_.bad()) throw std::system_error(errno != 0 ? errno : EIO, std::generic_category());
  next_ = 0;
  end_ = static_cast<std::size_t>(in_.gcount());
  bytes_ += end_;
  // A block is what a progress bar needs, and no more calls than that.
  if (onBlock_) onBlock_(bytes_);
  return end_ > 0;
}

bool LineSource::skipSpace() {
  while (!atEnd()) {
    char const c = peek();
    if (c != ' ' && c != '\t' && c != '\r' && c != '\n') return true;
    take();
  }
  return false;
}

}  // namespace Kelbase::Ctl
