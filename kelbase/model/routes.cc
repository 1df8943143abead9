#include "kelbase/model/routes.h"

namespace Kelbase {

Routes::Routes(Links& links, Addresses4& addresses, Nexthops& nexthops, NextHopSets& sets)
    : nexthops_(nexthops),
      sets_(sets),
      silent_(links, addresses, nexthops, sets,
              [this](bool surely) { doubt(surely ? Doubt::silence : Doubt::object); }) {
  nexthops.observerIs(*this);
  books_.try_emplace(mainTable, sets);
}

void Routes::dumpBegin() {
  for (auto& [table, book] : books_) book.dumpBegin();
  silent_.dumpBegin();
}

void Routes::dumpEnd(bool whole) {
  silent_.dumpEnd(whole);
  if (!whole) return;
  for (auto& [number, book] : books_) {
    book.sweep([this, table = number](Dovel::Prefix const& prefix) { tell(table, prefix); });
  }
}

void Routes::replayIs(bool on) {
  isReplay_ = on;
  silent_.replayIs(on);
}

void Routes::onNexthop(std::uint32_t id) {
  bool const shows = nexthops_.anyWith(id, [this](std::uint32_t object) {
    return hidingObjects_.contains(object) && !nexthops_.isBlackhole(object);
  });
  if (!shows) return;
  absl::erase_if(hidingObjects_, [this](auto object) { return !nexthops_.isBlackhole(object); });
  doubt(Doubt::silence);
}

KernelRoute Routes::keptOf(ListedRoute const& listed) {
  return {.metric = listed.metric,
          .identity = listed.identity,
          .tos = listed.tos,
          .protocol = listed.protocol,
          .kind = listed.kind};
}

/// Replayed over a dump that may be newer, all ends right as long as a prefix has but one route of
/// a tos and metric: each message then says all of it. Among appended ones a replacement, say, hits
/// the wrong one when its own had gone before the dump. And a second route cannot be told from the
/// first where they look the same. A dump leaves no doubt.
void Routes::is(ListedRoute const& listed, Rank rank) {
  auto route = keptOf(listed);
  auto& book = books_.try_emplace(listed.table, sets_).first->second;
  bool const joins = rank == Rank::appended || rank == Rank::first;
  bool const isAmidRivals = isReplay_ && (joins || book.hasRivals(listed.prefix, route));
  bool const isSecond = joins && book.contains(listed.prefix, route);
  if (rank != Rank::listed && (isAmidRivals || isSecond)) doubt(Doubt::order);
  if (listed.object == 0) {
    route.hops = sets_.inlineSet(listed.hops);
  } else {
    route.hops = sets_.objectSet(listed.object);
    if (listed.kind == RouteKind::blackhole) hidingObjects_.insert(listed.object);
  }
  silent_.routeIs(listed);
  if (book.add(listed.prefix, route, rank)) tell(listed.table, listed.prefix);
}

void Routes::del(ListedRoute const& listed) {
  auto const found = books_.find(listed.table);
  if (found == books_.end()) return;
  auto& book = found->second;
  auto const route = keptOf(listed);
  bool const isAmidRivals = isReplay_ && book.hasRivals(listed.prefix, route);
  if (isAmidRivals || book.hasTwins(listed.prefix, route)) doubt(Doubt::order);
  if (book.remove(listed.prefix, route)) tell(listed.table, listed.prefix);
}

}  // namespace Kelbase
