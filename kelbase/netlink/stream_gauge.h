#pragma once
// Whether notifications come in a stream: for some time at more than `rate` a second, however they
// are spread over it, one by one or in bursts as a routing daemon sends them.
//
// A level that each notification raises by one, and time lowers. Single ones, though several come
// close together, stay below the level of a stream; one that has ended is forgotten 50 ms later.
// Asked by NetlinkFeed before it reads, and told what it has read.

#include <algorithm>
#include <cstddef>

namespace Kelbase {

class StreamGauge {
 public:
  // A wake-up, a commit and a ring for each of so many cost little: below that nothing is to be
  // gained by waiting.
  static constexpr double rate = 250.0;  // a second
  static constexpr double streamLevel = 4.0;
  // However long a stream was, it is forgotten (16 - 4) / 250 s after its last notification.
  static constexpr double levelMax = 16.0;

  /// `now`: never less than that of the last add().
  bool isStream(double now) const { return level(now) >= streamLevel; }
  void add(std::size_t notifications, double now) {
    level_ = std::min(level(now) + static_cast<double>(notifications), levelMax);
    at_ = now;
  }

 private:
  double level(double now) const { return std::max(0.0, level_ - (now - at_) * rate); }

  double level_ = 0.0;
  double at_ = 0.0;  // when it stood there
};

}  // namespace Kelbase
