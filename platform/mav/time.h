#pragma once
// The platform's time: seconds as a double, of CLOCK_MONOTONIC, so that it never steps back when
// somebody sets the machine's clock. Tests put a SimulatedTime in its place. What processes tell
// one another is told in seconds since the machine's start (CLOCK_BOOTTIME): when state changed, a
// publisher's sign of life. No process is older than that start, and nobody can set that clock.

#include <ctime>
#include <limits>

namespace Mav {

/// Two times of a clock reactor (`timeMin`): as soon as possible, and not armed.
inline constexpr double asap = 0.0;
inline constexpr double never = std::numeric_limits<double>::infinity();

/// Gives what the machine's own clock reads, in seconds (clock_gettime(2)).
double secondsOf(clockid_t clock);

/// Gives the seconds of the platform's clock: a vDSO call of about 25 ns.
double now();

/// Gives the seconds of CLOCK_BOOTTIME, which goes on while the machine sleeps; of a simulated
/// time, what now() gives. For what other processes are told or have told.
double bootTime();

/// While one lives, now() is what it says. It starts at 1000 s, so that a test can say "long ago".
/// At most one lives at a time.
class SimulatedTime {
 public:
  explicit SimulatedTime(double start = 1000.0);
  ~SimulatedTime();
  SimulatedTime(SimulatedTime const&) = delete;
  SimulatedTime& operator=(SimulatedTime const&) = delete;

  void advance(double seconds) { now_ += seconds; }
  /// Has every reading of now() move the time on by this much (0 at first), so that code which
  /// watches a deadline gets there in a test.
  void stepPerReading(double seconds) { step_ = seconds; }

 private:
  friend double now();
  double now_;
  double step_ = 0.0;
};

/// True while a SimulatedTime lives: an Activity then leaves its timerfd alone.
bool timeIsSimulated();

}  // namespace Mav
