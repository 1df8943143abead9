#include "kelbase/model/routes.h"

namespace Kelbase {

Routes::Routes(Links& links, Addresses4& addresses, Nexthops& nexthops, HopSets& sets)
    : nexthops_(nexthops),
      sets_(sets),
      book_(sets),
      silent_(links, addresses, nexthops, sets,
              [this](bool surely) { doubt(surely ? Doubt::silence : Doubt::object); }) {
  nexthops.observerIs(*this);
}

void Routes::dumpBegin() {
  book_.dumpBegin();
  silent_.dumpBegin();
}

void Routes::dumpEnd(bool whole) {
  silent_.dumpEnd(whole);
  if (whole) book_.sweep([this](Dovel::Prefix const& prefix) { tell(prefix); });
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
void Routes::is(ListedRoute const& listed, Place place) {
  auto route = keptOf(listed);
  bool const joins = place == Place::appended || place == Place::first;
  bool const isAmidRivals = isReplay_ && (joins || book_.hasRivals(listed.prefix, route));
  bool const isSecond = joins && book_.contains(listed.prefix, route);
  if (place != Place::listed && (isAmidRivals || isSecond)) doubt(Doubt::order);
  if (listed.object == 0) {
    route.hops = sets_.inlineSet(listed.hops);
  } else {
    route.hops = sets_.objectSet(listed.object);
    if (listed.kind == RouteKind::blackhole) hidingObjects_.insert(listed.object);
  }
  silent_.routeIs(listed);
  if (book_.add(listed.prefix, route, place)) tell(listed.prefix);
}

void Routes::del(ListedRoute const& listed) {
  auto const route = keptOf(listed);
  bool const isAmidRivals = isReplay_ && book_.hasRivals(listed.prefix, route);
  if (isAmidRivals || book_.hasTwins(listed.prefix, route)) doubt(Doubt::order);
  if (book_.remove(listed.prefix, route)) tell(listed.prefix);
}

}  // namespace Kelbase
