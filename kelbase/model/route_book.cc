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

void RouteBook::assign(KernelRoute& slot, KernelRoute const& route) {
  if (slot.hops != route.hops) {
    sets_.ref(route.hops);
    sets_.unref(slot.hops);
  }
  slot = route;
}

bool RouteBook::add(Dovel::Prefix const& prefix, KernelRoute route, Place place) {
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
  return addTo(prefix, hint->second, route, place);
}

bool RouteBook::addTo(Dovel::Prefix const& prefix, KernelRoute& slot, KernelRoute const& route,
                      Place place) {
  if (isStale(slot)) {
    ++fresh_;
    if (place == Place::listed) return beginAnew(prefix, slot, route);
    slot.dump = dump_;
  }
  if (slot.kind == severalKind) return addToSeveral(prefix, slot, route, place);
  bool const ousts = place == Place::replaced || place == Place::only;
  bool const repeats = place != Place::listed && areSame(slot, route);
  if (repeats || (ousts && areRivals(slot, route))) {
    bool const changed = !looksSame(slot, route);
    assign(slot, route);
    return changed;
  }
  several_[prefix].assign(1, slot);
  slot = {.kind = severalKind, .dump = dump_};
  return addToSeveral(prefix, slot, route, place);
}

/// The first that a dump lists of its prefix: what it does not list again is gone.
bool RouteBook::beginAnew(Dovel::Prefix const& prefix, KernelRoute& slot,
                          KernelRoute const& route) {
  bool const changed = !looksSame(slot, route);
  sets_.ref(route.hops);
  drop(prefix, slot);
  slot = route;
  return changed;
}

bool RouteBook::addToSeveral(Dovel::Prefix const& prefix, KernelRoute& slot,
                             KernelRoute const& route, Place place) {
  auto& list = several_.at(prefix);
  if (place == Place::only) eraseRivals(list, route);
  putInto(list, route, place);
  if (list.size() == 1) slotIsOnly(prefix, slot);
  return true;
}

void RouteBook::putInto(List& list, KernelRoute const& route, Place place) {
  if (place != Place::listed) {
    auto const same = findSame(list, route);
    if (same != list.end()) return assign(*same, route);
  }
  auto const begin = std::lower_bound(list.begin(), list.end(), route, isBefore);
  auto const end = std::upper_bound(list.begin(), list.end(), route, isBefore);
  if (place == Place::replaced && begin != end) return assign(*begin, route);
  sets_.ref(route.hops);
  list.insert(place == Place::first ? begin : end, route);
}

void RouteBook::eraseRivals(List& list, KernelRoute const& route) {
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
void RouteBook::slotIsOnly(Dovel::Prefix const& prefix, KernelRoute& slot) {
  auto const dump = slot.dump;
  slot = several_.at(prefix).front();
  slot.dump = dump;
  several_.erase(prefix);
}

bool RouteBook::remove(Dovel::Prefix const& prefix, KernelRoute const& route) {
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

bool RouteBook::hasRivals(Dovel::Prefix const& prefix, KernelRoute const& route) const {
  auto const found = several_.find(prefix);
  if (found == several_.end()) return false;
  return std::any_of(found->second.begin(), found->second.end(), [&](KernelRoute const& other) {
    return areRivals(other, route) && !areSame(other, route);
  });
}

bool RouteBook::contains(Dovel::Prefix const& prefix, KernelRoute const& route) const {
  auto const found = routes_.find(prefix);
  if (found == routes_.end()) return false;
  if (found->second.kind != severalKind) return areSame(found->second, route);
  auto const& list = several_.at(prefix);
  return findSame(list, route) != list.end();
}

bool RouteBook::hasTwins(Dovel::Prefix const& prefix, KernelRoute const& route) const {
  auto const found = several_.find(prefix);
  if (found == several_.end()) return false;
  auto const looksLike = [&](KernelRoute const& other) { return areSame(other, route); };
  return std::count_if(found->second.begin(), found->second.end(), looksLike) > 1;
}

void RouteBook::drop(Dovel::Prefix const& prefix, KernelRoute const& slot) {
  if (slot.kind != severalKind) return sets_.unref(slot.hops);
  for (auto const& route : several_.at(prefix)) sets_.unref(route.hops);
  several_.erase(prefix);
}

void RouteBook::dumpBegin() {
  if (++dump_ == 0) forgetDumps();
  fresh_ = 0;
}

/// Of 255 dumps one after the other none may have been whole: nothing may look fresh for its age.
void RouteBook::forgetDumps() {
  for (auto& [prefix, slot] : routes_) slot.dump = 0;
  dump_ = 1;
}

void RouteBook::sweep(absl::FunctionRef<void(Dovel::Prefix const&)> gone) {
  std::size_t const stale = routes_.size() - fresh_;
  if (stale == 0) return;
  if (stale < routes_.size() / 8) return eraseStale(gone);
  keepFresh(gone);
}

void RouteBook::eraseStale(absl::FunctionRef<void(Dovel::Prefix const&)> gone) {
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
void RouteBook::keepFresh(absl::FunctionRef<void(Dovel::Prefix const&)> gone) {
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

bool RouteBook::isServed(KernelRoute const& route) {
  return route.kind != RouteKind::other && route.kind != RouteKind::dead;
}

std::optional<KernelRoute> RouteBook::servedOf(Dovel::Prefix const& prefix,
                                               KernelRoute const& slot) const {
  auto const chosen = slot.kind == severalKind ? best(several_.at(prefix)) : slot;
  return chosen && isServed(*chosen) ? chosen : std::nullopt;
}

std::optional<KernelRoute> RouteBook::served(Dovel::Prefix const& prefix) const {
  auto const found = routes_.find(prefix);
  if (found == routes_.end()) return std::nullopt;
  return servedOf(prefix, found->second);
}

RouteBook::Walk::Walk(RouteBook const& book, Dovel::Prefix const& from)
    : book_(book), next_(book.routes_.lower_bound(from)) {
  skipUnserved();
}

void RouteBook::Walk::next() {
  ++next_;
  skipUnserved();
}

void RouteBook::Walk::skipUnserved() {
  route_.reset();
  for (; next_ != book_.routes_.end(); ++next_) {
    route_ = book_.servedOf(next_->first, next_->second);
    if (route_) return;
  }
}

}  // namespace Kelbase
