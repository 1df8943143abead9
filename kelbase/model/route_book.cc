#include "kelbase/model/route_book.h"

#include <algorithm>
#include <iterator>

namespace Kelbase {
namespace {

/// The kind of a slot whose routes are in the list beside.
constexpr auto severalKind = RouteKind(255);

bool areRivals(KernelRoute const& a, KernelRoute const& b) {
  return a.tos == b.tos && a.metric == b.metric;
}

bool areSame(KernelRoute const& a, KernelRoute const& b) {
  return areRivals(a, b) && a.identity == b.identity;
}

bool isBefore(KernelRoute const& a, KernelRoute const& b) {
  return a.tos != b.tos ? a.tos > b.tos : a.metric < b.metric;
}

bool isBetter(KernelRoute const& a, KernelRoute const& b) {
  return a.metric != b.metric ? a.metric < b.metric : a.tos == 0 && b.tos != 0;
}

bool looksSame(KernelRoute const& a, KernelRoute const& b) {
  return a.metric == b.metric && a.hops == b.hops && a.protocol == b.protocol && a.kind == b.kind;
}

std::optional<KernelRoute> best(std::vector<KernelRoute> const& list) {
  KernelRoute const* result = nullptr;
  for (auto const& route : list) {
    if (route.kind == RouteKind::dead) continue;
    if (!result || isBetter(route, *result)) result = &route;
  }
  return result ? std::optional(*result) : std::nullopt;
}

/// The one of the list that a message about `route` means: of those that look like it the first of
/// its kind.
template <class List>
auto findSame(List& list, KernelRoute const& route) {
  auto const same = std::find_if(list.begin(), list.end(), [&](KernelRoute const& other) {
    return areSame(other, route) && other.kind == route.kind;
  });
  if (same != list.end()) return same;
  return std::find_if(list.begin(), list.end(),
                      [&](KernelRoute const& other) { return areSame(other, route); });
}

}  // namespace

template <class Prefix>
void RouteBook<Prefix>::assign(KernelRoute& slot, KernelRoute const& route) {
  if (slot.hops != route.hops) {
    sets_.ref(route.hops);
    sets_.unref(slot.hops);
  }
  slot = route;
}

template <class Prefix>
bool RouteBook<Prefix>::add(Prefix const& prefix, KernelRoute route, RouteRank rank) {
  route.dump = dump_;
  // The kernel lists in this order, so that a dump of nothing known appends.
  auto const hint = !routes_.empty() && routes_.rbegin()->first < prefix
                        ? routes_.end()
                        : routes_.lower_bound(prefix);
  if (hint == routes_.end() || hint->first != prefix) {
    sets_.ref(route.hops);
    routes_.emplace_hint(hint, prefix, route);
    ++fresh_;
    return true;
  }
  return addTo(prefix, hint->second, route, rank);
}

template <class Prefix>
bool RouteBook<Prefix>::addTo(Prefix const& prefix, KernelRoute& slot, KernelRoute const& route,
                              RouteRank rank) {
  if (isStale(slot)) {
    ++fresh_;
    if (rank == RouteRank::listed) return beginAnew(prefix, slot, route);
    slot.dump = dump_;
  }
  if (slot.kind == severalKind) return addToSeveral(prefix, slot, route, rank);
  bool const ousts = rank == RouteRank::replaced || rank == RouteRank::only;
  bool const repeats = rank != RouteRank::listed && areSame(slot, route);
  if (repeats || (ousts && areRivals(slot, route))) {
    bool const changed = !looksSame(slot, route);
    assign(slot, route);
    return changed;
  }
  several_[prefix].assign(1, slot);
  slot = {.kind = severalKind, .dump = dump_};
  return addToSeveral(prefix, slot, route, rank);
}

/// The first that a dump lists of its prefix: what it does not list again is gone.
template <class Prefix>
bool RouteBook<Prefix>::beginAnew(Prefix const& prefix, KernelRoute& slot,
                                  KernelRoute const& route) {
  bool const changed = !looksSame(slot, route);
  sets_.ref(route.hops);
  drop(prefix, slot);
  slot = route;
  return changed;
}

template <class Prefix>
bool RouteBook<Prefix>::addToSeveral(Prefix const& prefix, KernelRoute& slot,
                                     KernelRoute const& route, RouteRank rank) {
  auto& list = several_.at(prefix);
  if (rank == RouteRank::only) eraseRivals(list, route);
  putInto(list, route, rank);
  if (list.size() == 1) slotIsOnly(prefix, slot);
  return true;
}

template <class Prefix>
void RouteBook<Prefix>::putInto(List& list, KernelRoute const& route, RouteRank rank) {
  if (rank != RouteRank::listed) {
    auto const same = findSame(list, route);
    if (same != list.end()) return assign(*same, route);
  }
  auto const begin = std::lower_bound(list.begin(), list.end(), route, isBefore);
  auto const end = std::upper_bound(list.begin(), list.end(), route, isBefore);
  if (rank == RouteRank::replaced && begin != end) return assign(*begin, route);
  sets_.ref(route.hops);
  list.insert(rank == RouteRank::first ? begin : end, route);
}

template <class Prefix>
void RouteBook<Prefix>::eraseRivals(List& list, KernelRoute const& route) {
  auto const same = findSame(list, route);
  auto const kept = same == list.end() ? nullptr : &*same;
  auto const goes = [&](KernelRoute const& other) {
    return areRivals(other, route) && &other != kept;
  };
  for (auto const& other : list) {
    if (goes(other)) sets_.unref(other.hops);
  }
  List left;
  std::remove_copy_if(list.begin(), list.end(), std::back_inserter(left), goes);
  list = std::move(left);
}

/// The prefix has one route left, which needs no list.
template <class Prefix>
void RouteBook<Prefix>::slotIsOnly(Prefix const& prefix, KernelRoute& slot) {
  auto const dump = slot.dump;
  slot = several_.at(prefix).front();
  slot.dump = dump;
  several_.erase(prefix);
}

template <class Prefix>
bool RouteBook<Prefix>::remove(Prefix const& prefix, KernelRoute const& route) {
  auto const found = routes_.find(prefix);
  if (found == routes_.end()) return false;
  KernelRoute& slot = found->second;
  if (slot.kind != severalKind) {
    if (!areSame(slot, route)) return false;
    if (!isStale(slot)) --fresh_;
    sets_.unref(slot.hops);
    routes_.erase(found);
    return true;
  }
  auto& list = several_.at(prefix);
  auto const same = findSame(list, route);
  if (same == list.end()) return false;
  sets_.unref(same->hops);
  list.erase(same);
  if (list.size() == 1) slotIsOnly(prefix, slot);
  return true;
}

template <class Prefix>
bool RouteBook<Prefix>::hasRivals(Prefix const& prefix, KernelRoute const& route) const {
  auto const found = several_.find(prefix);
  if (found == several_.end()) return false;
  return std::any_of(found->second.begin(), found->second.end(), [&](KernelRoute const& other) {
    return areRivals(other, route) && !areSame(other, route);
  });
}

template <class Prefix>
bool RouteBook<Prefix>::contains(Prefix const& prefix, KernelRoute const& route) const {
  auto const found = routes_.find(prefix);
  if (found == routes_.end()) return false;
  if (found->second.kind != severalKind) return areSame(found->second, route);
  auto const& list = several_.at(prefix);
  return findSame(list, route) != list.end();
}

template <class Prefix>
bool RouteBook<Prefix>::hasTwins(Prefix const& prefix, KernelRoute const& route) const {
  auto const found = several_.find(prefix);
  if (found == several_.end()) return false;
  auto const looksLike = [&](KernelRoute const& other) { return areSame(other, route); };
  return std::count_if(found->second.begin(), found->second.end(), looksLike) > 1;
}

template <class Prefix>
void RouteBook<Prefix>::drop(Prefix const& prefix, KernelRoute const& slot) {
  if (slot.kind != severalKind) return sets_.unref(slot.hops);
  for (auto const& route : several_.at(prefix)) sets_.unref(route.hops);
  several_.erase(prefix);
}

template <class Prefix>
void RouteBook<Prefix>::dumpBegin() {
  if (++dump_ == 0) forgetDumps();
  fresh_ = 0;
}

/// Of 255 dumps one after the other none may have been whole: nothing may look fresh for its age.
template <class Prefix>
void RouteBook<Prefix>::forgetDumps() {
  for (auto& [prefix, slot] : routes_) slot.dump = 0;
  dump_ = 1;
}

template <class Prefix>
void RouteBook<Prefix>::sweep(absl::FunctionRef<void(Prefix const&)> gone) {
  std::size_t const stale = routes_.size() - fresh_;
  if (stale == 0) return;
  if (stale < routes_.size() / 8) return eraseStale(gone);
  keepFresh(gone);
}

template <class Prefix>
void RouteBook<Prefix>::eraseStale(absl::FunctionRef<void(Prefix const&)> gone) {
  for (auto it = routes_.begin(); it != routes_.end();) {
    if (!isStale(it->second)) {
      ++it;
      continue;
    }
    gone(it->first);
    drop(it->first, it->second);
    it = routes_.erase(it);
  }
}

/// As eraseStale(), where many go: each erased alone would cost more than all that stay.
template <class Prefix>
void RouteBook<Prefix>::keepFresh(absl::FunctionRef<void(Prefix const&)> gone) {
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

template <class Prefix>
bool RouteBook<Prefix>::isServed(KernelRoute const& route) {
  return route.kind != RouteKind::other && route.kind != RouteKind::dead;
}

template <class Prefix>
std::optional<KernelRoute> RouteBook<Prefix>::servedOf(Prefix const& prefix,
                                                       KernelRoute const& slot) const {
  auto const chosen = slot.kind == severalKind ? best(several_.at(prefix)) : slot;
  return chosen && isServed(*chosen) ? chosen : std::nullopt;
}

template <class Prefix>
std::optional<KernelRoute> RouteBook<Prefix>::served(Prefix const& prefix) const {
  auto const found = routes_.find(prefix);
  if (found == routes_.end()) return std::nullopt;
  return servedOf(prefix, found->second);
}

template <class Prefix>
RouteBook<Prefix>::Walk::Walk(RouteBook<Prefix> const& book, Prefix const& from)
    : book_(book), next_(book.routes_.lower_bound(from)) {
  skipUnserved();
}

template <class Prefix>
void RouteBook<Prefix>::Walk::next() {
  ++next_;
  skipUnserved();
}

template <class Prefix>
void RouteBook<Prefix>::Walk::skipUnserved() {
  route_.reset();
  for (; next_ != book_.routes_.end(); ++next_) {
    route_ = book_.servedOf(next_->first, next_->second);
    if (route_) return;
  }
}

template class RouteBook<Dovel::Prefix>;

}  // namespace Kelbase
