// What a million routes cost on either side of the shared tables. Times are processor time of the
// side in question: the other one, and whoever else is busy, is not in them.

#include <algorithm>
#include <random>

#include <malloc.h>

#include "benchmarks/published_routes.h"
#include "platform/pondo/fib/fec_route_list_sm.h"

namespace {

using namespace PublishedRoutes;

/// What the agent has, but for its rows.
struct Agent : Reading {
  explicit Agent(std::filesystem::path path) : Reading(std::move(path)) { follow(); }

  Mav::Ptr<FecRouteList> const list = Mav::makeObject<FecRouteList>();
  Mav::Ptr<FecRouteListSm> const listSm =
      Mav::makeObject<FecRouteListSm>(fib.routeStatus(), fib.forwardingStatus(), list);
};

/// Tables that nobody has seen: until they are complete, changes are not logged.
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

/// The same routes into tables that are complete: each goes into the change log as well.
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

/// All routes once more, with the same values, of which nothing is written, or with others.
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

/// What a publisher does at its start: it reads what its tables hold already.
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
    timed(state, [&] { longest = std::max(longest, agent.settle()); });
    // A time of a comparison that has not filed all would be too good.
    if (agent.list->size() != routeCount) state.SkipWithError("routes are missing");
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
    // The snapshot of the reads ends with a turn.
    agent.activity.deliver();
  }
}

/// The list alone, without tables: in the order in which a comparison fills it, and in none.
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
