// From a million published routes to a million rows of ipCidrRouteTable, without the daemon.

#include <malloc.h>

#include "agent/ip_route_table_sm.h"
#include "benchmarks/published_routes.h"
#include "platform/state/entities/intf_details_provider.h"

namespace {

using namespace PublishedRoutes;

struct Agent : Intf::IntfDetailsProvider, Reading {
  explicit Agent(std::filesystem::path path) : Reading(std::move(path)) {
    Intf::intfDetailsProviderIs(this);
    // The one link that all fecs lead through, as published_routes.h names it.
    intfStatusDir->intfStatusIs(Dovel::IntfId("eth0"), 2, true);
    sm = Mav::makeObject<IpSnmp::IpRouteTableSm>(Mav::makeObject<Mav::ActivityConfig>(activity),
                                                 mib, intfStatusDir, fib.routeStatus(),
                                                 fib.forwardingStatus(), activity.clock());
    follow();
  }
  ~Agent() { Intf::intfDetailsProviderIs(nullptr); }
  Agent(Agent const&) = delete;
  Agent& operator=(Agent const&) = delete;

  std::int32_t ifIndex(Interface::IntfStatus const& status) const override {
    return status.ifIndex();
  }

  Mav::Ptr<IpSnmp::IpForwardMib> const mib = Mav::makeObject<IpSnmp::IpForwardMib>("mib");
  Mav::Ptr<Interface::AllIntfStatusDir> const intfStatusDir =
      Mav::makeObject<Interface::AllIntfStatusDir>();
  Mav::Ptr<IpSnmp::IpRouteTableSm> sm;
};

/// Octets in use of the heap, large blocks of their own among them.
double allocated() {
  auto const info = ::mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

/// A new agent on tables that stand: the time of its comparison and its passes, what it holds after
/// them, and how long it kept a request waiting at the longest.
void coldStart(benchmark::State& state) {
  RunDir const runDir;
  Publisher const publisher(runDir.path());
  for (auto _ : state) {
    auto const before = allocated();
    Agent agent(runDir.path());
    double longest = 0;
    timed(state, [&] { longest = agent.settle(); });
    // A time of a start that has not filed all would be too good.
    if (agent.mib->ipCidrRouteTables() != routeCount) state.SkipWithError("rows are missing");
    state.counters["longest turn ms"] = longest * 1e3;
    state.counters["octets/route"] = (allocated() - before) / routeCount;
  }
}

/// Every route changed, by the change log.
void everyRouteChanged(benchmark::State& state) {
  RunDir const runDir;
  Publisher publisher(runDir.path());
  Agent agent(runDir.path());
  agent.settle();
  for (auto _ : state) {
    publisher.rewrite();
    double longest = 0;
    timed(state, [&] { longest = agent.settle(); });
    state.counters["longest turn ms"] = longest * 1e3;
  }
}

/// The prefixes of fecs that change, into the backlog; those of one fec are not cut into slices.
/// The argument is the number of fecs; each is used by routes all over the table.
void fecsChanged(benchmark::State& state) {
  RunDir const runDir;
  Publisher const publisher(runDir.path());
  Agent agent(runDir.path());
  agent.settle();
  auto const fecs = static_cast<std::uint64_t>(state.range(0));
  for (auto _ : state) {
    auto const start = cpuTime();
    for (std::uint64_t id = 1; id <= fecs; ++id) agent.sm->handleFec(FecId(id));
    auto const time = cpuTime() - start;
    state.SetIterationTime(time);
    state.counters["ns/prefix"] = time * 1e9 / static_cast<double>(agent.sm->backlog().size());
    agent.settle();
  }
}

BENCHMARK(fecsChanged)
    ->Arg(1)
    ->Arg(fecCount)
    ->Iterations(10)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(coldStart)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(everyRouteChanged)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
