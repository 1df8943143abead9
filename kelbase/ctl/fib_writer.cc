#include "kelbase/ctl/fib_writer.h"

#include <cstddef>

namespace Kelbase::Ctl {
namespace {

using Pondo::FecTable;
using Pondo::RouteTable;
using SyncCounts = Pondo::Writer::SyncCounts;

constexpr std::size_t reportEvery = 1'024;

/// What to do to a table, so that it holds `wanted`.
template <class Table, class Wanted>
struct Difference {
  SyncCounts counts;
  std::vector<typename Wanted::value_type const*> written;
  std::vector<typename Table::Key> removed;
};

/// One pass over both, which are in one order.
template <class Table, class Wanted>
Difference<Table, Wanted> differenceTo(Pondo::Writer& writer, Wanted const& wanted) {
  Difference<Table, Wanted> difference;
  auto next = wanted.begin();
  auto const take = [&](std::size_t& count) {
    ++count;
    difference.written.push_back(&*next++);
  };
  writer.scan<Table>([&](auto const& key, auto const& record) {
    while (next != wanted.end() && next->first < key) take(difference.counts.added);
    if (next == wanted.end() || next->first != key) {
      ++difference.counts.removed;
      difference.removed.push_back(key);
    } else if (next->second == record) {
      ++difference.counts.unchanged;
      ++next;
    } else {
      take(difference.counts.changed);
    }
  });
  while (next != wanted.end()) take(difference.counts.added);
  return difference;
}

}  // namespace

FibCounts writeFib(Pondo::Writer& writer, FibRoutes const& routes, FibFecs const& fecs,
                   std::function<void(std::uint64_t)> const& onRoutes) {
  auto const fecDifference = differenceTo<FecTable>(writer, fecs);
  auto const routeDifference = differenceTo<RouteTable>(writer, routes);
  for (auto const* fec : fecDifference.written) writer.put<FecTable>(fec->first, fec->second);
  std::uint64_t count = 0;
  for (auto const* route : routeDifference.written) {
    writer.put<RouteTable>(route->first, route->second);
    if (++count % reportEvery == 0) onRoutes(count);
  }
  for (auto const& prefix : routeDifference.removed) writer.erase<RouteTable>(prefix);
  for (auto const& fecId : fecDifference.removed) writer.erase<FecTable>(fecId);
  return {routeDifference.counts, fecDifference.counts};
}

void refreshFecs(Pondo::Writer& writer,
                 std::map<Dovel::IntfId, Pondo::LinkTable::Record> const& links) {
  FibFecs changed;
  writer.scan<FecTable>([&](auto const& fecId, auto fec) {
    bool differs = false;
    for (auto& via : fec.vias) {
      auto const link = links.find(via.intfId);
      if (link == links.end() || link->second.ifIndex == via.ifIndex) continue;
      via.ifIndex = link->second.ifIndex;
      differs = true;
    }
    if (differs) changed.emplace(fecId, std::move(fec));
  });
  for (auto const& [fecId, fec] : changed) writer.put<FecTable>(fecId, fec);
}

}  // namespace Kelbase::Ctl
