#pragma once
// Timing messages of the functions that react to events. A Timer stands for one call of one:
//
//   void IpRouteTableSm::handleRoute(Prefix const& prefix) {
//     Blipmark::Timer const blip("IpSnmp::IpRouteTableSm::handleRoute(Dovel::Prefix)");
//
// Two static probes, `blipmark:enter` and `blipmark:leave`, tell a tracer of every call. Each has
// the name as its argument. The program need not be told, nor restarted:
//
//   bpftrace -e 'usdt:PATH:blipmark:enter { @[str(arg0)] = count(); }'
//
// Calls are counted and timed here too while that is on: from the start when the environment
// variable BLIPMARK is 1, or after enabledIs(true). The module of snmpd writes report() to the
// daemon's log when it is unloaded: at SIGHUP and at the end. While counting is off a Timer costs a
// call and a branch. Times are wall time and include calls within. A call is counted when it ends,
// and only if counting was on when it began. One thread.

#include <cstdint>
#include <iosfwd>
#include <string_view>
#include <vector>

namespace Blipmark {

/// Of one name; times in nanoseconds.
struct Statistics {
  std::uint64_t count = 0;
  std::uint64_t total = 0;
  std::uint64_t maximum = 0;
};

class Timer {
 public:
  /// `name` is the full signature of the function, a literal. Names that read the same are counted
  /// together.
  explicit Timer(char const* name);
  ~Timer();
  Timer(Timer const&) = delete;
  Timer& operator=(Timer const&) = delete;

 private:
  char const* const name_;
  Statistics* const statistics_;  // null: not counted
  std::uint64_t const start_;
};

bool enabled();
void enabledIs(bool on);

struct NamedStatistics {
  std::string_view name;
  Statistics statistics;
};

/// Of every name that was called, the greatest total first; equal ones by name.
std::vector<NamedStatistics> statistics();

/// Writes statistics() as a table: count, total, mean and maximum in microseconds, name.
void report(std::ostream& out);

/// Starts counting from nothing. Calls that have not ended yet are counted when they end.
void reset();

/// Nanoseconds from a steady clock; null restores CLOCK_MONOTONIC. For tests.
using Clock = std::uint64_t (*)();
void clockIs(Clock clock);

}  // namespace Blipmark
