#pragma once
// What the fuzz targets share: libFuzzer's input taken apart, and what is right to happen to it.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/mav/exception.h"

/// Asked by the sanitizer. Where several sources are one compilation, an archive has the globals of
/// a target's own sources once more. Not inline: it has to come before the sanitizer's own.
extern "C" [[gnu::visibility("default")]] char const*
__asan_default_options() {  // NOLINT(misc-definitions-in-headers)
  return "detect_odr_violation=0";
}

namespace Fuzz {

inline void require(bool right) {
  if (!right) std::abort();
}

/// Input may be taken or refused by an exception of the object model; any other ends the run.
template <class Call>
void takenOrRefused(Call const& call) {
  try {
    call();
  } catch (Mav::Exception const&) {  // said what is wrong with it
  }
}

/// An input that is taken piece by piece, front to back; zeros once it has ended.
class Input {
 public:
  Input(std::uint8_t const* bytes, std::size_t size) : next_(bytes), left_(size) {}

  bool ended() const { return left_ == 0; }
  std::uint8_t byte() {
    auto const one = take(1);
    return one.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(one[0]);
  }
  /// As many as there are, up to `size`, in memory of their own: a sanitizer sees the end.
  std::vector<char> take(std::size_t size) {
    size = size < left_ ? size : left_;
    std::vector<char> const piece(next_, next_ + size);
    next_ += size;
    left_ -= size;
    return piece;
  }

 private:
  std::uint8_t const* next_;
  std::size_t left_;
};

}  // namespace Fuzz
