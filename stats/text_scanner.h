#pragma once
// Reads the words and numbers of a statistics file from a text in memory, with the states of a C++
// input stream: an operation that reaches the end of the text ends the scanner, a number that is
// none fails it, and an ended or failed scanner reads nothing more (empty words, 0).
//
// The lines of /proc/net have no quoting, and only the caller knows where a line has to end: a word
// runs up to a space, not up to a newline. The text must outlive the scanner and its words. Never
// allocates, never throws; every operation takes time in proportion to what it consumes.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Ip {

class TextScanner {
 public:
  explicit TextScanner(std::string_view text) : rest_(text) {}

  /// Neither ended nor failed.
  bool good() const { return state_ == State::good; }
  /// Nothing is left to read, whether or not an operation has found that out yet.
  bool exhausted() const { return rest_.empty(); }

  /// Consumes at most `max` characters, up to and including `delimiter`; returns how many.
  std::size_t skip(std::size_t max, char delimiter);

  /// Consumes at most `max` characters, up to a space, which stays. Empty when a space is next.
  std::string_view word(std::size_t max);

  /// Skips white space, newlines too, and consumes an unsigned decimal number of 64 bits. What is
  /// not a number gives 0 and fails the scanner. As with a stream, a number of more than 64 bits
  /// gives 2^64-1 and fails the scanner, and a sign is taken: -1 gives 2^64-1 without failing.
  std::uint64_t number();

 private:
  enum class State { good, ended, failed };

  std::string_view take(std::size_t length);
  std::uint64_t fail(std::uint64_t value);

  std::string_view rest_;
  State state_ = State::good;
};

}  // namespace Ip
