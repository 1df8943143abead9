#pragma once
// Thins lines that repeat: what a manager can provoke with each request must not fill a disk. Of
// one text, burstMax lines pass within `window` seconds, the last of them saying so; the first one
// after that tells how many were left out. One thread.

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
  /// Texts that are remembered at a time.
  static constexpr std::size_t textsMax = 128;

  /// What is to be written for `line` at the time `now` (seconds), if anything.
  std::optional<std::string> pass(std::string_view line, double now);

 private:
  struct Burst {
    double start = 0.0;
    std::uint64_t lines = 0;
  };

  void forget(double now);

  absl::btree_map<std::string, Burst> bursts_;
};

}  // namespace Mav
