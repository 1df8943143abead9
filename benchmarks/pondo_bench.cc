// What a million routes cost on either side of the shared tables. Times are processor time of the
// side in question: the other one, and whoever else is busy, is not in them.

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/mav/trace_handle.h"
#include "platform/pondo/fec_route_list_sm.h"
#include "platform/pondo/shared_fib.h"
#include "platform/pondo/writer.h"

namespace Pondo::Fib {
namespace {

constexpr std::size_t routeCount = 1'000'000;
constexpr std::uint64_t fecCount = 40;

using Rows = std::vector<std::pair<Dovel::Prefix, Route>>;

/// Seconds of this process.
double cpuTime() {
  timespec time{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// One timed go over all routes.
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
unsigned someLength(std::mt19937& random) {
  auto const percent = random() % 100;
  if (percent < 60) return 24;
  if (percent < 71) return 22;
  if (percent < 80) return 23;
  if (percent < 85) return 21;
  if (percent < 90) return 20;
  return static_cast<unsigned>(12 + random() % 8);
}

/// Sorted, the same in every run.
Rows const& rows() {
  static Rows const made = [] {
    std::mt19937 random(1);
    std::map<Dovel::Prefix, Route> routes;
    while (routes.size() < routeCount) {
      auto const length = someLength(random);
      Dovel::IpAddr const address(static_cast<std::uint32_t>(random()) % 0xe0000000U);
      routes[{address.masked(length), length}] = {
          FecId(1 + random() % fecCount), Routing::RouteMetric(20), Routing::RoutePreference(200),
          Routing::Fib::routeTypeBgp};
    }
    return Rows(routes.begin(), routes.end());
  }();
  return made;
}

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

void putAll(Writer& writer, std::uint32_t metric) {
  for (std::uint64_t id = 1; id <= fecCount; ++id) {
    Dovel::IpAddr const hop(0x0a000000U + static_cast<std::uint32_t>(id));
    writer.put<FecTable>(FecId(id), {{{hop, Dovel::IntfId("eth0"), 2}}});
  }
  for (auto [prefix, route] : rows()) {
    route.metric = Routing::RouteMetric(metric);
    writer.put<RouteTable>(prefix, route);
  }
}

/// A publisher in a process of its own: LMDB wants that.
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

  /// Gives every route another metric.
  void rewrite() {
    tell(1);
    char done = 0;
    if (::read(up_[0], &done, 1) != 1) std::abort();
  }

 private:
  void tell(char what) const {
    if (::write(down_[1], &what, 1) != 1) std::abort();
  }
  [[noreturn]] void serve(std::filesystem::path const& runDir) const {
    {
      Writer::Options options;
      options.logMax = 2 * routeCount;
      Writer writer(runDir, options);
      char what = 0;
      for (std::uint32_t metric = 1; ::read(down_[0], &what, 1) == 1 && what != 0; ++metric) {
        putAll(writer, metric);
        writer.commitComplete();
        if (::write(up_[1], &what, 1) != 1) std::abort();
      }
    }
    ::_exit(0);
  }

  int down_[2] = {-1, -1};
  int up_[2] = {-1, -1};
  pid_t pid_ = -1;
};

/// What the agent has, but for its rows.
struct Agent {
  explicit Agent(std::filesystem::path path) : runDir(std::move(path)) { follow(); }
  ~Agent() { fib.followerIs(nullptr); }
  Agent(Agent const&) = delete;
  Agent& operator=(Agent const&) = delete;

  void follow() {
    fib.followerIs(nullptr);
    follower.reset();
    follower.emplace(activity, runDir, std::vector<Listener*>{&fib});
    fib.followerIs(&*follower);
  }
  /// Turns until there is no more to do.
  void settle() {
    double longest = 0;
    do {
      auto const start = cpuTime();
      activity.deliver();
      longest = std::max(longest, cpuTime() - start);
    } while (follower->state() != Follower::State::following ||
             activity.clock()->timeNext() == Mav::asap);
    longestTurn = longest;
  }

  std::filesystem::path const runDir;
  Mav::Activity activity;
  SharedFib fib;
  Mav::Ptr<FecRouteList> const list = Mav::makeObject<FecRouteList>();
  Mav::Ptr<FecRouteListSm> const listSm =
      Mav::makeObject<FecRouteListSm>(fib.routeStatus(), fib.forwardingStatus(), list);
  std::optional<Follower> follower;
  double longestTurn = 0;
};

void publishNewTables(benchmark::State& state) {
  rows();
  for (auto _ : state) {
    RunDir const runDir;
    Writer writer(runDir.path(), {});
    timed(state, [&] {
      putAll(writer, 20);
      writer.commitComplete();
    });
  }
}

void publishNewRoutesIntoTablesInUse(benchmark::State& state) {
  rows();
  for (auto _ : state) {
    RunDir const runDir;
    Writer writer(runDir.path(), {});
    writer.commitComplete();
    timed(state, [&] {
      putAll(writer, 20);
      writer.commit();
    });
  }
}

void publishedRoutes(benchmark::State& state, bool changed) {
  RunDir const runDir;
  Writer writer(runDir.path(), {});
  std::uint32_t metric = 1;
  putAll(writer, metric);
  writer.commitComplete();
  for ([[maybe_unused]] auto _ : state) {
    if (changed) ++metric;
    timed(state, [&] {
      putAll(writer, metric);
      writer.commit();
    });
  }
}

void scanByTheWriter(benchmark::State& state) {
  RunDir const runDir;
  Writer writer(runDir.path(), {});
  putAll(writer, 20);
  writer.commitComplete();
  for (auto _ : state) {
    std::uint64_t sum = 0;
    timed(state, [&] {
      writer.scan<RouteTable>([&](auto const& prefix, auto const& route) {
        sum += prefix.length() + route.fecId.value();
      });
    });
    benchmark::DoNotOptimize(sum);
  }
}

/// From the start of an agent to the last route filed.
void firstComparison(benchmark::State& state) {
  RunDir const runDir;
  Publisher const publisher(runDir.path());
  double longest = 0;
  for (auto _ : state) {
    Agent agent(runDir.path());
    timed(state, [&] { agent.settle(); });
    if (agent.list->size() != routeCount) state.SkipWithError("routes are missing");
    longest = std::max(longest, agent.longestTurn);
  }
  state.counters["longest turn ms"] = longest * 1e3;
}

/// With every route filed already.
void laterComparison(benchmark::State& state) {
  RunDir const runDir;
  Publisher const publisher(runDir.path());
  Agent agent(runDir.path());
  agent.settle();
  for (auto _ : state) {
    timed(state, [&] {
      agent.follow();
      agent.settle();
    });
  }
}

/// Every route changed, by the change log.
void followedChanges(benchmark::State& state) {
  RunDir const runDir;
  Publisher publisher(runDir.path());
  Agent agent(runDir.path());
  agent.settle();
  for (auto _ : state) {
    publisher.rewrite();
    timed(state, [&] { agent.settle(); });
  }
}

/// As the route state machine reads: a route and its fec.
void routesAndFecsRead(benchmark::State& state, bool inOrder) {
  RunDir const runDir;
  Publisher const publisher(runDir.path());
  Agent agent(runDir.path());
  agent.settle();
  auto wanted = rows();
  if (!inOrder) std::shuffle(wanted.begin(), wanted.end(), std::mt19937(1));
  auto const routes = agent.fib.routeStatus();
  auto const fecs = agent.fib.forwardingStatus();
  for (auto _ : state) {
    std::size_t vias = 0;
    timed(state, [&] {
      for (auto const& row : wanted) {
        vias += fecs->fec(routes->route(row.first)->fecId)->vias.size();
      }
    });
    benchmark::DoNotOptimize(vias);
    agent.activity.deliver();
  }
}

void fecRouteList(benchmark::State& state, bool inOrder) {
  auto wanted = rows();
  if (!inOrder) std::shuffle(wanted.begin(), wanted.end(), std::mt19937(1));
  double bytes = 0;
  for (auto _ : state) {
    auto const before = ::mallinfo2();
    auto const list = Mav::makeObject<FecRouteList>();
    timed(state, [&] {
      for (auto const& [prefix, route] : wanted) list->routeIs(prefix, route.fecId);
    });
    auto const after = ::mallinfo2();
    bytes = static_cast<double>(after.uordblks + after.hblkhd - before.uordblks - before.hblkhd);
  }
  state.counters["octets/route"] = bytes / routeCount;
}

BENCHMARK(publishNewTables)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(publishNewRoutesIntoTablesInUse)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(publishedRoutes, changed, true)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(publishedRoutes, unchanged, false)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(scanByTheWriter)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(firstComparison)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(laterComparison)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(followedChanges)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(routesAndFecsRead, inOrder, true)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(routesAndFecsRead, shuffled, false)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fecRouteList, inOrder, true)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fecRouteList, shuffled, false)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace Pondo::Fib
