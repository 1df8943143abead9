#include "platform/mav/time.h"

#include "platform/mav/exception.h"

namespace Mav {

namespace {

// One for the process: clocks are not handed around.
SimulatedTime* simulated = nullptr;

}  // namespace

double secondsOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

SimulatedTime::SimulatedTime(double start) : now_(start) {
  if (simulated) throw Exception("a simulated time lives already");
  simulated = this;
}

SimulatedTime::~SimulatedTime() { simulated = nullptr; }

bool timeIsSimulated() { return simulated != nullptr; }

double now() {
  if (!simulated) return secondsOf(CLOCK_MONOTONIC);
  // The step comes after the reading, so that the first one is the time that the test has set.
  double const reading = simulated->now_;
  simulated->now_ += simulated->step_;
  return reading;
}

double bootTime() { return simulated ? now() : secondsOf(CLOCK_BOOTTIME); }

}  // namespace Mav
