#pragma once
// The platform's time: seconds as a double, on CLOCK_MONOTONIC, so that it never steps back.
// Tests put a SimulatedTime in its place; nothing else in the program reads a clock.

#include <limits>

namespace Mav {

/// Times of a clock reactor (`timeMin`): as soon as possible, and not armed.
inline constexpr double asap = 0.0;
inline constexpr double never = std::numeric_limits<double>::infinity();

/// Seconds on the platform's clock. A vDSO call: about 25 ns.
double now();

/// While one lives, now() is what it says. Starts at 1000 s, so that "long ago" can be expressed.
/// At most one at a time.
class SimulatedTime {
 public:
  explicit SimulatedTime(double start = 1000.0);
  ~SimulatedTime();
  SimulatedTime(SimulatedTime const&) = delete;
  SimulatedTime& operator=(SimulatedTime const&) = delete;

  void advance(double seconds) { now_ += seconds; }
  /// Every reading of now() moves the time on by this much (0 at first): code that watches a
  /// deadline makes progress in a test.
  void stepPerReading(double seconds) { step_ = seconds; }

 private:
  friend double now();
  double now_;
  double step_ = 0.0;
};

/// True while a SimulatedTime lives: an Activity then leaves its timerfd alone.
bool timeIsSimulated();

}  // namespace Mav
