#pragma once
// Whether notifications come in a stream, and how long what follows is worth waiting for.
//
// A stream is more than `rate` a second for some time, however they are spread over it, one by one
// or in bursts as a routing daemon sends them: a level that each notification raises by one, and
// time lowers. Single ones, though several come close together, stay below the level of a stream;
// one that has ended is forgotten 50 ms later.
//
// A stream that lasts is one of hundreds a second, round after round. To wait longer there costs
// nobody anything, and a wake-up, a commit and a ring serve three times as many. Faster ones fill
// the shorter time as well.
//
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

  /// Seconds; with what follows, a manager sees the last of a stream within 10 ms.
  static constexpr double shortDelay = 0.008;
  static constexpr double longDelay = 0.025;  // of one that lasts
  static constexpr double lastsAfter = 0.1;   // seconds
  /// In a shorter round a routing daemon's bursts, which are 10 ms apart and more, would be missed
  /// now and then.
  static constexpr double roundMin = 0.03;  // seconds
  static constexpr double lastingRateMin = 500.0;
  static constexpr double lastingRateMax = 20'000.0;

  /// `now`: never less than that of the last add().
  bool isStream(double now) const { return level(now) >= streamLevel; }
  /// Seconds to wait in a stream.
  double delay(double now) const { return now - lastsSince_ < lastsAfter ? shortDelay : longDelay; }
  void add(std::size_t notifications, double now) {
    level_ = std::min(level(now) + static_cast<double>(notifications), levelMax);
    at_ = now;
    round_ += static_cast<double>(notifications);
    double const time = now - roundAt_;
    if (time < roundMin) return;
    bool const lasts =
        time < lastsAfter && round_ > lastingRateMin * time && round_ < lastingRateMax * time;
    if (!lasts) lastsSince_ = now;
    round_ = 0.0;
    roundAt_ = now;
  }

 private:
  double level(double now) const { return std::max(0.0, level_ - (now - at_) * rate); }

  double level_ = 0.0;
  double at_ = 0.0;  // when it stood there
  // How many came in this round, and since when they have come alike.
  double round_ = 0.0;
  double roundAt_ = 0.0;
  double lastsSince_ = 0.0;
};

}  // namespace Kelbase
