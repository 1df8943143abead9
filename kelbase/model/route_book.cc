#include "kelbase/model/route_book.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "kelbase/model/route_protocols.h"

namespace Kelbase {
namespace {

/// The kind of a slot whose routes are in the list beside.
constexpr auto severalKind = RouteKind(127);

/// What the kernel tells the routes of a prefix apart by, but for those that were appended
/// (fib_table_insert, fib6_add_rt2node).
bool areRivals(KernelRoute const& a, KernelRoute const& b) {
  return a.tos == b.tos && a.metric == b.metric;
}

/// One route in two messages about it: its identity leaves out what may change in between.
bool areSame(KernelRoute const& a, KernelRoute const& b) {
  return areRivals(a, b) && a.identity == b.identity;
}

// The kernel sorts the routes of a prefix so (net/ipv4/fib_trie.c, fib_insert_alias). Those of IPv6
// have no tos.
bool isBefore(KernelRoute const& a, KernelRoute const& b) {
  return a.tos != b.tos ? a.tos > b.tos : a.metric < b.metric;
}

/// Whether both give the same row. Identity and tos do not show in one.
bool looksSame(KernelRoute const& a, KernelRoute const& b) {
  return a.metric == b.metric && a.hops == b.hops && a.protocol == b.protocol && a.kind == b.kind;
}

/// Of `Ip` the served next hops of a prefix are those of all its routes of one metric.
template <class Ip>
constexpr bool joins = Ip::version == IpVersion::v6;

/// The one of the list that a message about `route` means: of those that look like it the first
/// with its next hops, or of its kind.
template <class List>
auto findSame(List& list, KernelRoute const& route) {
  auto const find = [&](auto const& isIt) {
    return std::find_if(list.begin(), list.end(), [&](KernelRoute const& other) {
      return areSame(other, route) && isIt(other);
    });
  };
  auto found = find([&](auto const& other) { return looksSame(other, route); });
  if (found == list.end()) {
    found = find([&](auto const& other) { return other.kind == route.kind; });
  }
  return found != list.end() ? found : find([](auto const&) { return true; });
}

/// Whether a route told so may be one that is there.
bool mayRepeat(RouteRank rank) { return rank != RouteRank::listed && rank != RouteRank::beside; }

}  // namespace

std::size_t lookalikes(Rivals const& rivals, KernelRoute const& route) {
  return static_cast<std::size_t>(
      std::count_if(rivals.begin(), rivals.end(),
                    [&](KernelRoute const& other) { return areSame(other, route); }));
}

/// The dump under way, or a message since, has mentioned the prefix.
template <class Ip>
void RouteBook<Ip>::refresh(KernelRoute& slot) {
  if (isStale(slot)) ++fresh_;
  slot.dump = dump_;
}

template <class Ip>
void RouteBook<Ip>::assign(KernelRoute& slot, KernelRoute const& route) {
  if (slot.hops != route.hops) {
    ref(route.hops);
    unref(slot.hops);
  }
  slot = route;
}

template <class Ip>
auto RouteBook<Ip>::place(Prefix const& prefix) -> Place {
  // The kernel lists in this order, so that a dump of nothing known appends.
  bool const isLast = !routes_.empty() && routes_.rbegin()->first < prefix;
  return {prefix, isLast ? routes_.end() : routes_.lower_bound(prefix)};
}

template <class Ip>
bool RouteBook<Ip>::add(Place const& place, KernelRoute route, RouteRank rank) {
  route.dump = dump_;
  if (!isThere(place)) {
    ref(route.hops);
    // The place is the hint: the descent that found it is the only one.
    routes_.emplace_hint(place.at_, place.prefix(), route);
    ++fresh_;
    return true;
  }
  return addTo(place.prefix(), place.at_->second, route, rank);
}

template <class Ip>
bool RouteBook<Ip>::addTo(Prefix const& prefix, KernelRoute& slot, KernelRoute const& route,
                          RouteRank rank) {
  // Asked before refresh(), after which no slot is stale.
  bool const isFirstListed = rank == RouteRank::listed && isStale(slot);
  refresh(slot);
  // Routes in a list need no marks of their own: the first that is listed ends all of them.
  if (isFirstListed) return beginAnew(prefix, slot, route);
  if (slot.kind == severalKind) return addToSeveral(prefix, slot, route, rank);
  bool const ousts = rank == RouteRank::replaced || rank == RouteRank::only;
  bool const repeats = mayRepeat(rank) && areSame(slot, route);
  if (repeats || (ousts && areRivals(slot, route))) {
    bool const changed = !looksSame(slot, route);
    assign(slot, route);
    return changed;
  }
  // Of a million prefixes few have a second route: they alone pay for a list. What gets here is one
  // more: of another tos or metric, or beside the one of the same.
  several_[prefix].list.assign(1, slot);
  // The reference moves into the list with the route.
  slot = KernelRoute();
  slot.dump = dump_;
  slot.kind = severalKind;
  return addToSeveral(prefix, slot, route, rank);
}

/// The first that a dump lists of its prefix: what it does not list again is gone.
template <class Ip>
bool RouteBook<Ip>::beginAnew(Prefix const& prefix, KernelRoute& slot, KernelRoute const& route) {
  // A slot that stands for a list looks like no route: a prefix that had several is told in any
  // case.
  bool const changed = !looksSame(slot, route);
  // The new set gets its reference before the old one loses it: one that stays is not told to be
  // unused in between.
  ref(route.hops);
  drop(prefix, slot);
  slot = route;
  return changed;
}

template <class Ip>
bool RouteBook<Ip>::addToSeveral(Prefix const& prefix, KernelRoute& slot, KernelRoute const& route,
                                 RouteRank rank) {
  auto& list = several_.at(prefix).list;
  // The kernel found no other of this tos and metric: those that the book has went in silence.
  if (rank == RouteRank::only) eraseRivals(list, route);
  putInto(list, route, rank);
  listIsOther(prefix, slot);
  return true;
}

template <class Ip>
void RouteBook<Ip>::putInto(List& list, KernelRoute const& route, RouteRank rank) {
  if (mayRepeat(rank)) {
    auto const same = findSame(list, route);
    if (same != list.end()) return assign(*same, route);
  }
  auto const begin = std::lower_bound(list.begin(), list.end(), route, isBefore);
  // From `begin` to `end` stand its rivals, in the order in which they were appended.
  auto const end = std::upper_bound(list.begin(), list.end(), route, isBefore);
  if (rank == RouteRank::replaced && begin != end) return assign(*begin, route);
  ref(route.hops);
  list.insert(rank == RouteRank::first ? begin : end, route);
}

template <class Ip>
void RouteBook<Ip>::eraseRivals(List& list, KernelRoute const& route) {
  auto const same = findSame(list, route);
  // The route itself stays for putInto(), which finds it and assigns.
  auto const kept = same == list.end() ? nullptr : &*same;
  auto const goes = [&](KernelRoute const& other) {
    return areRivals(other, route) && &other != kept;
  };
  for (auto const& other : list) {
    if (goes(other)) unref(other.hops);
  }
  // The rest is copied: `kept` points into the list.
  List left;
  std::remove_copy_if(list.begin(), list.end(), std::back_inserter(left), goes);
  list = std::move(left);
}

/// One route that is left needs no list; several have to be joined.
template <class Ip>
void RouteBook<Ip>::listIsOther(Prefix const& prefix, KernelRoute& slot) {
  auto const several = several_.find(prefix);
  // Also where one route is left: joining then gives up the set that several had.
  if constexpr (joins<Ip>) join(prefix, several->second);
  if (several->second.list.size() > 1) return;
  // The slot's mark is the prefix's, which sweep() goes by; those of routes in a list are not
  // asked.
  auto const dump = slot.dump;
  slot = several->second.list.front();
  slot.dump = dump;
  several_.erase(several);
}

template <class Ip>
void RouteBook<Ip>::join(Prefix const& prefix, Several& several) {
  auto const joint = sets_.inlineSet(jointHops(several.list));
  // First the new set, for the same reason as in beginAnew().
  ref(joint);
  unref(std::exchange(several.joint, joint));
  // Also where nothing is joined: an object that is a blackhole by now may come to forward again.
  bool const hasObject =
      several.list.size() > 1 &&
      std::any_of(several.list.begin(), several.list.end(), [&](auto& route) {
        return route.hops != NextHopSets::none && sets_.objectOf(route.hops) != 0;
      });
  hasObject ? void(joinObjects_.insert(prefix)) : void(joinObjects_.erase(prefix));
}

/// None where one route alone forwards: its own set will do.
template <class Ip>
std::vector<NextHop> RouteBook<Ip>::jointHops(List const& list) {
  auto const* const first = best(list);
  if (!first || !forwards(*first)) return {};
  std::vector<NextHop> result;
  bool isJoint = false;
  for (auto const& route : list) {
    // The kernel's lookup stops at the first metric that gives a next hop.
    if (route.metric != first->metric || !forwards(route)) continue;
    isJoint = isJoint || &route != first;
    auto const type = routeProtocol(route.protocol).type;
    for (auto hop : sets_.hopsOf(route.hops)) {
      // Unknown where it is the first one's, as in a set of one route alone: equal sets are one
      // fec.
      if (type != routeProtocol(first->protocol).type) hop.routeType = type;
      // Two routes may lead the same way: a fec names it once.
      bool const isThere = std::any_of(result.begin(), result.end(),
                                       [&](auto const& one) { return one.isSameWay(hop); });
      if (!isThere) result.push_back(hop);
    }
  }
  return isJoint ? result : std::vector<NextHop>();
}

template <class Ip>
void RouteBook<Ip>::onObject(absl::FunctionRef<void(Prefix const&)> changed) {
  // A copy, because join() changes the set.
  auto const prefixes = joinObjects_;
  for (auto const& prefix : prefixes) {
    join(prefix, several_.at(prefix));
    // Another may be the best now, though none is joined before or after.
    changed(prefix);
  }
}

template <class Ip>
bool RouteBook<Ip>::remove(Place const& place, KernelRoute const& route) {
  if (!isThere(place)) return false;
  KernelRoute& slot = place.at_->second;
  if (slot.kind != severalKind) {
    if (!areSame(slot, route)) return false;
    // What is counted is in routes_: sweep() takes all the rest for stale.
    if (!isStale(slot)) --fresh_;
    unref(slot.hops);
    routes_.erase(place.at_);
    return true;
  }
  auto& list = several_.at(place.prefix()).list;
  auto const same = findSame(list, route);
  if (same == list.end()) return false;
  unref(same->hops);
  list.erase(same);
  listIsOther(place.prefix(), slot);
  return true;
}

template <class Ip>
bool RouteBook<Ip>::change(Place const& place, KernelRoute const& before, KernelRoute const& now) {
  KernelRoute& slot = place.at_->second;
  refresh(slot);
  if (slot.kind != severalKind) {
    bool const changed = !looksSame(slot, now);
    assign(slot, now);
    // assign() has brought the mark of `now` along, which is a copy and may be older.
    slot.dump = dump_;
    return changed;
  }
  assign(*findSame(several_.at(place.prefix()).list, before), now);
  listIsOther(place.prefix(), slot);
  return true;
}

template <class Ip>
Rivals RouteBook<Ip>::rivals(Place const& place, KernelRoute const& route) const {
  Rivals result;
  if (!isThere(place)) return result;
  auto const& slot = place.at_->second;
  if (slot.kind != severalKind) {
    if (areRivals(slot, route)) result.push_back(slot);
    return result;
  }
  for (auto const& other : several_.at(place.prefix()).list) {
    if (areRivals(other, route)) result.push_back(other);
  }
  return result;
}

template <class Ip>
void RouteBook<Ip>::drop(Prefix const& prefix, KernelRoute const& slot) {
  if (slot.kind != severalKind) return unref(slot.hops);
  auto const several = several_.find(prefix);
  for (auto const& route : several->second.list) unref(route.hops);
  unref(several->second.joint);
  several_.erase(several);
  joinObjects_.erase(prefix);
}

template <class Ip>
void RouteBook<Ip>::dumpBegin() {
  // The number of a dump has one octet, for a million routes have it too; 0 is no dump's.
  if (++dump_ == 0) forgetDumps();
  fresh_ = 0;
}

/// Of 255 dumps one after the other none may have been whole: nothing may look fresh for its age.
template <class Ip>
void RouteBook<Ip>::forgetDumps() {
  for (auto& [prefix, slot] : routes_) slot.dump = 0;
  dump_ = 1;
}

template <class Ip>
void RouteBook<Ip>::sweep(absl::FunctionRef<void(Prefix const&)> gone) {
  std::size_t const stale = routes_.size() - fresh_;
  // What the prefixes are counted for: after most dumps nothing has to go, and none is looked at.
  if (stale == 0) return;
  if (stale < routes_.size() / 8) return eraseStale(gone);
  keepFresh(gone);
}

template <class Ip>
void RouteBook<Ip>::eraseStale(absl::FunctionRef<void(Prefix const&)> gone) {
  for (auto it = routes_.begin(); it != routes_.end();) {
    if (!isStale(it->second)) {
      ++it;
      continue;
    }
    // While the key is there: it is the tree's own.
    gone(it->first);
    drop(it->first, it->second);
    it = routes_.erase(it);
  }
}

/// As eraseStale(), where many go: each erased alone would cost more than all that stay.
template <class Ip>
void RouteBook<Ip>::keepFresh(absl::FunctionRef<void(Prefix const&)> gone) {
  Routes kept;
  for (auto const& [prefix, slot] : routes_) {
    if (!isStale(slot)) {
      kept.emplace_hint(kept.end(), prefix, slot);
      continue;
    }
    gone(prefix);
    drop(prefix, slot);
  }
  routes_ = std::move(kept);
}

template <class Ip>
bool RouteBook<Ip>::isServed(KernelRoute const& route) {
  return route.kind != RouteKind::other && route.kind != RouteKind::dead;
}

template <class Ip>
bool RouteBook<Ip>::forwards(KernelRoute const& route) const {
  return route.kind == RouteKind::unicast &&
         (route.hops == NextHopSets::none || !sets_.isBlackhole(route.hops));
}

template <class Ip>
bool RouteBook<Ip>::isBetter(KernelRoute const& a, KernelRoute const& b) const {
  if (a.metric != b.metric) return a.metric < b.metric;
  if constexpr (joins<Ip>) return forwards(a) && !forwards(b);
  return a.tos == 0 && b.tos != 0;
}

/// Null when none is alive.
template <class Ip>
KernelRoute const* RouteBook<Ip>::best(List const& list) const {
  // The list has tos in descending and metrics in ascending order, so that of equal ones the first
  // that came stays.
  KernelRoute const* result = nullptr;
  for (auto const& route : list) {
    // A dead one stays in the list: the kernel tells of its removal, and may revive it in silence.
    if (route.kind == RouteKind::dead) continue;
    if (!result || isBetter(route, *result)) result = &route;
  }
  return result;
}

template <class Ip>
std::optional<KernelRoute> RouteBook<Ip>::servedOf(Prefix const& prefix,
                                                   KernelRoute const& slot) const {
  if (slot.kind != severalKind) return isServed(slot) ? std::optional(slot) : std::nullopt;
  auto const& several = several_.at(prefix);
  auto const* const chosen = best(several.list);
  // A throw route, chosen, hides what stands behind it: the kernel would ask another table.
  if (!chosen || !isServed(*chosen)) return std::nullopt;
  // A copy, because the next hops may be those of several routes, which none of them has.
  auto result = *chosen;
  if (several.joint != NextHopSets::none) result.hops = several.joint;
  return result;
}

template <class Ip>
RouteBook<Ip>::Walk::Walk(RouteBook<Ip> const& book, Prefix const& from)
    : book_(book), next_(book.routes_.lower_bound(from)) {
  skipUnserved();
}

template <class Ip>
void RouteBook<Ip>::Walk::next() {
  ++next_;
  skipUnserved();
}

template <class Ip>
void RouteBook<Ip>::Walk::skipUnserved() {
  route_.reset();
  for (; next_ != book_.routes_.end(); ++next_) {
    route_ = book_.servedOf(next_->first, next_->second);
    if (route_) return;
  }
}

template <class Ip>
std::optional<KernelRoute> RouteBook<Ip>::Search::served(Prefix const& prefix) {
  constexpr int stepsMax = 2;  // beyond that a descent costs no more
  auto const end = book_.routes_.end();
  // A run of changed prefixes is mostly one of neighbours: a step costs a fraction of a descent.
  for (int steps = 0; steps < stepsMax && next_ != end && next_->first < prefix; ++steps) ++next_;
  if (next_ != end && next_->first < prefix) next_ = book_.routes_.lower_bound(prefix);
  if (next_ == end || next_->first != prefix) return std::nullopt;
  return book_.servedOf(prefix, next_->second);
}

template class RouteBook<Ip4>;
template class RouteBook<Ip6>;

}  // namespace Kelbase
