#pragma once
// Makes the tables of routes and next hops hold what a file or a generator says, a million routes
// included: what is there is compared as it lies, and only differences are written.

#include <cstdint>
#include <functional>
#include <map>
#include <utility>
#include <vector>

#include "platform/pondo/environment/writer.h"

namespace Kelbase::Ctl {

/// In the order of prefixes, each once.
using FibRoutes = std::vector<std::pair<Dovel::Prefix, Pondo::Fib::Route>>;
using FibFecs = std::map<Pondo::Fib::FecId, Pondo::Fib::Fec>;

struct FibCounts {
  Pondo::Writer::SyncCounts routes;
  Pondo::Writer::SyncCounts fecs;
};

/// Replaces both tables. At no time does a route name a fec that is not there. Does not commit the
/// last batch. `onRoutes` hears now and then how many routes have been written.
FibCounts writeFib(Pondo::Writer& writer, FibRoutes const& routes, FibFecs const& fecs,
                   std::function<void(std::uint64_t)> const& onRoutes);

/// Links have come with other indexes: the fecs that leave through them say so.
void refreshFecs(Pondo::Writer& writer,
                 std::map<Dovel::IntfId, Pondo::LinkTable::Record> const& links);

}  // namespace Kelbase::Ctl
