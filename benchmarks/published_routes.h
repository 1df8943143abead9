#pragma once
// A million published routes, for benchmarks of either side of the shared tables.
//
// One go over all routes is measured in processor time, and the least of several goes is told: on a
// machine that others use, too, it is the one that was disturbed least.

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/pondo/environment/writer.h"
#include "platform/pondo/fib/shared_fib.h"

namespace PublishedRoutes {

using namespace Pondo;
using namespace Pondo::Fib;

// The size of the internet's table, roughly; and few sets of next hops, as a router has them.
inline constexpr std::size_t routeCount = 1'000'000;
inline constexpr std::uint64_t fecCount = 40;

/// In the order of prefixes, which is that of the table's keys: the writer appends.
using Rows = std::vector<std::pair<Dovel::Prefix, Route>>;

/// Seconds of this process. It leaves out whoever else is busy, the publisher in its process among
/// them.
inline double cpuTime() {
  timespec time{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// One timed go over all routes. The counter "ns/route" keeps the least of the goes; Google
/// Benchmark's own figure is their mean.
template <class Action>
void timed(benchmark::State& state, Action const& action) {
  auto const start = cpuTime();
  action();
  auto const time = cpuTime() - start;
  state.SetIterationTime(time);
  auto& least = state.counters["ns/route"];
  auto const perRoute = time * 1e9 / routeCount;
  if (least == 0 || perRoute < least) least = perRoute;
}

/// Lengths as in the internet's table.
inline unsigned someLength(std::mt19937& random) {
  auto const percent = random() % 100;
  if (percent < 60) return 24;
  if (percent < 71) return 22;
  if (percent < 80) return 23;
  if (percent < 85) return 21;
  if (percent < 90) return 20;
  return static_cast<unsigned>(12 + random() % 8);
}

/// Sorted, the same in every run.
inline Rows const& rows() {
  static Rows const made = [] {
    // A fixed seed, so that runs can be compared.
    std::mt19937 random(1);
    std::map<Dovel::Prefix, Route> routes;
    while (routes.size() < routeCount) {
      auto const length = someLength(random);
      // Below 224.0.0.0: unicast alone.
      Dovel::IpAddr const address(static_cast<std::uint32_t>(random()) % 0xe0000000U);
      routes[{address.masked(length), length}] = {
          FecId(1 + random() % fecCount), Routing::RouteMetric(20), Routing::RoutePreference(200),
          Routing::Fib::routeTypeBgp};
    }
    return Rows(routes.begin(), routes.end());
  }();
  return made;
}

/// A run directory on tmpfs, as the daemons have theirs; gone with its object.
class RunDir {
 public:
  RunDir() {
    if (!::mkdtemp(path_.data())) std::abort();
  }
  ~RunDir() { std::filesystem::remove_all(path_); }
  RunDir(RunDir const&) = delete;
  RunDir& operator=(RunDir const&) = delete;
  std::filesystem::path path() const { return path_; }

 private:
  std::string path_ = "/dev/shm/pondo-bench.XXXXXX";
};

/// Puts every fec and every route, these with that metric; does not commit.
inline void putAll(Writer& writer, std::uint32_t metric) {
  for (std::uint64_t id = 1; id <= fecCount; ++id) {
    Dovel::IpAddr const hop(0x0a000000U + static_cast<std::uint32_t>(id));
    writer.put<FecTable>(FecId(id), {{{hop, Dovel::IntfId("eth0"), 2}}});
  }
  for (auto [prefix, route] : rows()) {
    route.metric = Routing::RouteMetric(metric);
    writer.put<RouteTable>(prefix, route);
  }
}

/// A publisher in a process of its own: LMDB wants that. Its time is its own, too: what the reader
/// is measured by has none of it.
class Publisher {
 public:
  explicit Publisher(std::filesystem::path const& runDir) {
    if (::pipe(down_) != 0 || ::pipe(up_) != 0) std::abort();
    pid_ = ::fork();
    if (pid_ == 0) serve(runDir);
    rewrite();
  }
  ~Publisher() {
    tell(0);
    ::waitpid(pid_, nullptr, 0);
    for (int const fd : {down_[0], down_[1], up_[0], up_[1]}) ::close(fd);
  }
  Publisher(Publisher const&) = delete;
  Publisher& operator=(Publisher const&) = delete;

  /// Gives every route another metric. Returns when it is committed.
  void rewrite() {
    tell(1);
    char done = 0;
    if (::read(up_[0], &done, 1) != 1) std::abort();
  }

 private:
  // One octet each way: 1, write all again; 0, end.
  void tell(char what) const {
    if (::write(down_[1], &what, 1) != 1) std::abort();
  }
  [[noreturn]] void serve(std::filesystem::path const& runDir) const {
    {
      Writer::Options options;
      // The log holds all of a go: a reader follows it, and does not fall back to a comparison.
      options.logMax = 2 * routeCount;
      Writer writer(runDir, options);
      char what = 0;
      for (std::uint32_t metric = 1; ::read(down_[0], &what, 1) == 1 && what != 0; ++metric) {
        putAll(writer, metric);
        writer.commitComplete();
        if (::write(up_[1], &what, 1) != 1) std::abort();
      }
    }
    // No destructors of the benchmark that was forked.
    ::_exit(0);
  }

  int down_[2] = {-1, -1};
  int up_[2] = {-1, -1};
  pid_t pid_ = -1;
};

/// What an agent reads them with; derive what hears of them, and then follow(). All in one thread,
/// as in snmpd; whoever derives says what a million routes are read for.
struct Reading {
  explicit Reading(std::filesystem::path path) : runDir(std::move(path)) {}
  ~Reading() { fib.followerIs(nullptr); }
  Reading(Reading const&) = delete;
  Reading& operator=(Reading const&) = delete;

  /// From the start on, also once more. With a new follower, which knows nothing and compares
  /// everything.
  void follow() {
    fib.followerIs(nullptr);
    follower.reset();
    follower.emplace(activity, runDir, std::vector<Listener*>{&fib});
    fib.followerIs(&*follower);
  }
  /// Turns until there is no more to do. The longest turn in seconds. That is how long a manager
  /// would wait at the worst, since a daemon answers between turns.
  double settle() {
    double longest = 0;
    do {
      auto const start = cpuTime();
      activity.deliver();
      longest = std::max(longest, cpuTime() - start);
    } while (follower->state() != Follower::State::following ||
             activity.clock()->timeNext() == Mav::asap);
    return longest;
  }

  // Destroyed from the last to the first: the follower before its listener and its activity.
  std::filesystem::path const runDir;
  Mav::Activity activity;
  SharedFib fib;
  std::optional<Follower> follower;
};

}  // namespace PublishedRoutes
