#include "kelbase/model/routes.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

namespace Kelbase {

template <class Ip>
Routes<Ip>::Routes(Links& links, OnLinks<AddressOf<Ip>>& addresses, Nexthops& nexthops,
                   NextHopSets& sets)
    : nexthops_(nexthops),
      sets_(sets),
      silent_(links, addresses, nexthops, sets,
              [this](bool surely) { doubt(surely ? RouteDoubt::silence : RouteDoubt::object); }) {
  nexthops.observerIs(*this);
  // Before there is any route in it: a view asks for the book when it is made.
  books_.try_emplace(mainTable, sets);
}

template <class Ip>
void Routes<Ip>::dumpBegin() {
  for (auto& [table, book] : books_) book.dumpBegin();
  silent_.dumpBegin();
}

template <class Ip>
void Routes<Ip>::dumpEnd(bool whole) {
  // Also of a dump that was interrupted: what may be missing casts doubt (PreferredSources).
  silent_.dumpEnd(whole);
  if (!whole) return;
  for (auto& [number, book] : books_) {
    book.sweep([this, table = number](Prefix const& prefix) { tell(table, prefix); });
  }
}

template <class Ip>
void Routes<Ip>::replayIs(bool on) {
  isReplay_ = on;
  replaced_.clear();
  silent_.replayIs(on);
}

template <class Ip>
void Routes<Ip>::onNexthop(std::uint32_t id) {
  joinAnew();
  // About the routes of an object that changes the kernel says nothing: of which kind, and on which
  // links, it lists them now shows in a dump.
  bool const isListedAnew = nexthops_.anyWith(id, [this](std::uint32_t object) {
    return zoneObjects_.contains(object) || listsAnotherKind(object);
  });
  // Most changes of objects end here: their sets have told what they consist of now.
  if (!isListedAnew) return;
  // The dump files again what it lists (is()); what stayed here would ask for one at each change.
  // The listing fills them again.
  absl::erase_if(hidingObjects_, [this](auto object) { return !nexthops_.isBlackhole(object); });
  absl::erase_if(bareObjects_, [this](auto object) { return nexthops_.isBlackhole(object); });
  doubt(RouteDoubt::silence);
}

/// Its routes go with it. Those of zones are filed with the next hops that it had, and not as its
/// own (SilentChanges).
template <class Ip>
void Routes<Ip>::onNexthopGone(std::uint32_t id) {
  joinAnew();
  if (zoneObjects_.erase(id) != 0) doubt(RouteDoubt::silence);
}

/// Whether the kernel lists the object's routes as another kind than it did: without a message.
template <class Ip>
bool Routes<Ip>::listsAnotherKind(std::uint32_t object) const {
  return (nexthops_.isBlackhole(object) ? bareObjects_ : hidingObjects_).contains(object);
}

/// The kernel tells a route through an object that is a blackhole as a blackhole. Of which type the
/// route itself is shows in a dump, once the object is another (onNexthop).
template <class Ip>
void Routes<Ip>::hearKind(Listed const& listed) {
  bool const mayHide = !nexthops_.isKnown(listed.object) || nexthops_.isBlackhole(listed.object);
  bool const isHidden = listed.kind == RouteKind::blackhole && mayHide;
  (isHidden ? hidingObjects_ : bareObjects_).insert(listed.object);
  // The object may have been one when the message was made, and its own message tell nothing new.
  if (isReplay_ && listed.kind == RouteKind::blackhole && !mayHide) doubt(RouteDoubt::order);
}

/// A joint set is written out: it has copies of what the objects in it led to.
template <class Ip>
void Routes<Ip>::joinAnew() {
  for (auto& [number, book] : books_) {
    book.onObject([this, table = number](Prefix const& prefix) { tell(table, prefix); });
  }
}

/// Without its next hops (setHops).
template <class Ip>
KernelRoute Routes<Ip>::keptOf(Listed const& listed) {
  KernelRoute route{.metric = listed.metric,
                    .identity = listed.identity,
                    .tos = listed.tos,
                    .protocol = listed.protocol};
  route.kind = listed.kind;
  route.isUniform = !listed.mayExpire;
  return route;
}

/// Siblings are a set: their order is that of the messages about them.
template <class Ip>
void Routes<Ip>::setHops(Listed const& listed, KernelRoute& route) {
  if (listed.object != 0) {
    route.hops = sets_.objectSet(listed.object);
  } else if (Ip::version == IpVersion::v4 || listed.hops.size() < 2) {
    route.hops = sets_.inlineSet(listed.hops);
  } else {
    // Two orders of one list would be two sets, and the fec of the prefix another with each
    // message.
    hops_ = listed.hops;
    std::sort(hops_.begin(), hops_.end());
    hops_.erase(std::unique(hops_.begin(), hops_.end()), hops_.end());
    route.hops = sets_.inlineSet(hops_);
    // Two that differ in what is not kept, their encapsulation.
    route.isUniform = route.isUniform && hops_.size() == listed.hops.size();
  }
}

template <class Ip>
std::set<std::int32_t> Routes<Ip>::zonesOf(Listed const& listed) {
  std::set<std::int32_t> zones(listed.deadLinks.begin(), listed.deadLinks.end());
  for (auto const& hop : listed.hops) zones.insert(hop.ifIndex);
  zones.insert(listed.link);
  if (listed.object != 0) {
    zoneObjects_.insert(listed.object);
    for (auto const& hop : nexthops_.hopsOf(listed.object)) zones.insert(hop.ifIndex);
  }
  // A next hop without a link names no zone: that of an object which is a blackhole.
  zones.erase(0);
  if (zones.empty()) zones.insert(loopback);
  return zones;
}

template <class Ip>
void Routes<Ip>::heard(std::uint32_t table, Prefix const& prefix, RouteOutcome outcome) const {
  if (outcome.isDoubtful) doubt(RouteDoubt::order);
  if (outcome.mayUncover) doubt(RouteDoubt::cover);
  if (outcome.isChanged) tell(table, prefix);
}

/// Calls take(prefix, listed) for each prefix that the message is about: with the next hops on its
/// link, of a link-local one, even if those are a nexthop object's.
template <class Ip>
template <class Take>
void Routes<Ip>::inZones(Listed const& listed, Take const& take) {
  if constexpr (Ip::version == IpVersion::v4) {
    take(listed.prefix, listed);
  } else {
    auto const& address = listed.prefix.address();
    auto const length = listed.prefix.length();
    if (!Prefix::isZoned(address, length)) return take(Prefix(address, length), listed);
    for (auto const zone : zonesOf(listed)) {
      // A copy for each link, with allocations: link-local prefixes are some of each link, never a
      // million.
      auto one = listed;
      if (one.object != 0) one.hops = nexthops_.hopsOf(std::exchange(one.object, 0));
      std::erase_if(one.hops, [zone](auto const& hop) { return hop.ifIndex != zone; });
      std::erase_if(one.deadLinks, [zone](auto link) { return link != zone; });
      // Next hops that are alive on other links carry no packet of this one.
      if (one.hops.empty() && !one.deadLinks.empty()) one.kind = RouteKind::dead;
      take(Prefix(address, length, static_cast<std::uint32_t>(zone)), one);
    }
  }
}

template <class Ip>
void Routes<Ip>::is(Listed const& listed, RouteRank rank) {
  // The route as it was told, of all links: what hangs on one of them hangs on it in any zone.
  silent_.routeIs(listed);
  if (listed.object != 0 && listed.kind != RouteKind::unicast) hearKind(listed);
  auto& book = books_.try_emplace(listed.table, sets_).first->second;
  Rules const rules(sets_, isReplay_);
  inZones(listed, [&](Prefix const& prefix, Listed const& one) {
    if (isReplay_ && rank == RouteRank::replaced) replaced_.insert(prefix);
    auto route = keptOf(one);
    setHops(one, route);
    // A set that is new has no reference until the book holds the route. Only a write forgets sets
    // (FecView::writeUnused), and none comes in between.
    heard(one.table, prefix, rules.add(book, book.place(prefix), route, rank, one.tellsSiblings));
  });
}

template <class Ip>
void Routes<Ip>::del(Listed const& listed) {
  auto const found = books_.find(listed.table);
  if (found == books_.end()) return;
  auto& book = found->second;
  Rules const rules(sets_, isReplay_);
  inZones(listed, [&](Prefix const& prefix, Listed const& one) {
    auto route = keptOf(one);
    // One sibling among others is named by its next hop alone. IPv4 needs no set: the identity says
    // which route is meant. A set that is made for the question alone is forgotten with the next
    // write.
    if constexpr (Ip::version == IpVersion::v6) setHops(one, route);
    auto outcome = rules.remove(book, book.place(prefix), route, one.tellsSiblings);
    // What the message of before the dump has replaced here may not be what it had replaced in the
    // kernel, but another one, which stands.
    if (isReplay_ && replaced_.contains(prefix)) outcome.mayUncover = true;
    heard(one.table, prefix, outcome);
  });
}

template <class Ip>
std::string Routes<Ip>::summary() const {
  auto const size = table().size();
  return fmt::format("{} {} route{}", size, Ip::name, size == 1 ? "" : "s");
}

template class Routes<Ip4>;
template class Routes<Ip6>;

}  // namespace Kelbase
