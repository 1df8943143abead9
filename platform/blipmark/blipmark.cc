#include "platform/blipmark/blipmark.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <map>
#include <ostream>

#include <fmt/format.h>
#include <sys/sdt.h>

namespace Blipmark {

namespace {

std::uint64_t monotonic() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000U +
         static_cast<std::uint64_t>(time.tv_nsec);
}

bool enabledByEnvironment() {
  char const* const value = std::getenv("BLIPMARK");
  return value && std::string_view(value) == "1";
}

// Asked once, while the program or module is loaded: a Timer tests a flag alone.
bool isEnabled = enabledByEnvironment();
Clock readClock = monotonic;

/// Nodes stay in place: a Timer holds on to its own.
std::map<std::string_view, Statistics>& byName() {
  // By what the names read, not by where they are: one literal may stand in several places of a
  // program.
  static std::map<std::string_view, Statistics> map;
  return map;
}

// Asked once, at the call's begin: switching on or off in between neither adds nor loses half a
// call.
Statistics* statisticsOf(char const* name) {
  if (!isEnabled) [[likely]] {
    return nullptr;
  }
  return &byName()[name];
}

double microseconds(std::uint64_t nanoseconds) { return static_cast<double>(nanoseconds) / 1e3; }

}  // namespace

Timer::Timer(char const* name)
    // The clock is read last: the search by name is not timed.
    : name_(name), statistics_(statisticsOf(name)), start_(statistics_ ? readClock() : 0) {
  // A probe is one instruction that does nothing, and a note in the program's file (sys/sdt.h): a
  // tracer puts its breakpoint there.
  STAP_PROBE1(blipmark, enter, name_);
}

Timer::~Timer() {
  // Also of a call that is not counted: a tracer needs nobody's leave.
  STAP_PROBE1(blipmark, leave, name_);
  if (!statistics_) [[likely]] {
    return;
  }
  auto const elapsed = readClock() - start_;
  ++statistics_->count;
  statistics_->total += elapsed;
  statistics_->maximum = std::max(statistics_->maximum, elapsed);
}

bool enabled() { return isEnabled; }

void enabledIs(bool on) { isEnabled = on; }

std::vector<NamedStatistics> statistics() {
  std::vector<NamedStatistics> result;
  for (auto const& [name, of] : byName()) {
    if (of.count != 0) result.push_back({name, of});
  }
  std::stable_sort(result.begin(), result.end(), [](auto const& a, auto const& b) {
    return a.statistics.total > b.statistics.total;  // stable: the map is in order of names
  });
  return result;
}

void report(std::ostream& out) {
  constexpr std::string_view heading = "{:>10} {:>14} {:>12} {:>12}  {}\n";
  out << fmt::format(heading, "count", "total us", "mean us", "maximum us", "name");
  for (auto const& [name, of] : statistics()) {
    auto const total = microseconds(of.total);
    auto const mean = total / static_cast<double>(of.count);
    out << fmt::format("{:>10} {:>14.3f} {:>12.3f} {:>12.3f}  {}\n", of.count, total, mean,
                       microseconds(of.maximum), name);
  }
}

void reset() {
  // The entries stay: a call that has not ended holds on to its own.
  for (auto& [name, of] : byName()) of = {};
}

void clockIs(Clock clock) { readClock = clock ? clock : monotonic; }

}  // namespace Blipmark
