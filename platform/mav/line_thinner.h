#pragma once
// Thins lines that repeat, because a line that a manager can provoke with each request must not
// fill a disk. Within `window` seconds the same text passes burstMax times, and the last of these
// lines says that more are left out. The first line after the window tells how many were. One
// thread.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <absl/container/btree_map.h>

namespace Mav {

class LineThinner {
 public:
  static constexpr double window = 10.0;  // seconds
  static constexpr std::uint64_t burstMax = 10;
  /// The number of texts that are remembered at a time. Beyond it those whose window is over are
  /// forgotten, or all: a text that is forgotten passes again.
  static constexpr std::size_t textsMax = 128;

  /// Gives what is to be written for `line` at the time `now` (seconds), or nothing.
  std::optional<std::string> pass(std::string_view line, double now);

 private:
  /// One text's window.
  struct Burst {
    double start = 0.0;
    std::uint64_t lines = 0;
  };

  /// Makes room for another text.
  void forget(double now);

  absl::btree_map<std::string, Burst> bursts_;
};

}  // namespace Mav
