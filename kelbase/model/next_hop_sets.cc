#include "kelbase/model/next_hop_sets.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include <absl/hash/hash.h>

namespace Kelbase {

// A message's next hops are looked up as they lie there: to find a set that is known allocates
// nothing.
std::size_t NextHopSets::HopsHash::operator()(std::span<NextHop const> hops) const {
  return absl::HashOf(absl::MakeConstSpan(hops.data(), hops.size()));
}

bool NextHopSets::HopsEqual::operator()(std::span<NextHop const> a,
                                        std::span<NextHop const> b) const {
  return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

NextHopSets::NextHopSets(Links& links, Nexthops& nexthops) : links_(links), nexthops_(nexthops) {
  links.observerIs(*this);
  nexthops.observerIs(*this);
}

NextHopSets::Handle NextHopSets::inlineSet(std::span<NextHop const> hops) {
  if (hops.empty()) return none;
  auto const found = inline_.find(hops);
  if (found != inline_.end()) return found->second;
  Handle const handle = make({.hops = Hops(hops.begin(), hops.end())});
  // The hops stand there twice, as key and in the set: some hundred sets cost little, and a set
  // stays readable by its handle.
  inline_.emplace(sets_[handle].hops, handle);
  for (auto const& hop : hops) setsOfLink_.insert(static_cast<std::uint32_t>(hop.ifIndex), handle);
  tellUnused(handle);  // until a route uses it
  return handle;
}

NextHopSets::Handle NextHopSets::make(Set set) {
  if (free_.empty()) {
    sets_.push_back(std::move(set));
    return static_cast<Handle>(sets_.size() - 1);
  }
  Handle const handle = free_.back();
  free_.pop_back();
  sets_[handle] = std::move(set);
  return handle;
}

NextHopSets::Handle NextHopSets::objectSet(std::uint32_t object) {
  // A route may come before the object that it names: the set waits for the object's own message.
  auto const [place, isNew] = objectSets_.try_emplace(object, none);
  if (isNew) {
    place->second = make({.object = object, .hops = {}});
    tellUnused(place->second);
  }
  return place->second;
}

void NextHopSets::ref(Handle handle, IpVersion version) {
  if (handle == none) return;
  bool const wasUsed = isUsed(handle);
  ++sets_[handle].refs(version);
  // With its first route a set comes to be shown; further ones change nothing of it.
  if (wasUsed) return;
  ++used_;
  tell(handle);
}

void NextHopSets::unref(Handle handle, IpVersion version) {
  if (handle == none) return;
  // Never below zero: RouteBook has one reference for each route that it holds, and one for each
  // joint set.
  --sets_[handle].refs(version);
  if (isUsed(handle)) return;
  --used_;
  // Told, not forgotten: rows that are published may still refer to it (forget()).
  tellUnused(handle);
}

void NextHopSets::forget(Handle handle) {
  Set const& set = sets_[handle];
  assert(set.isThere());  // a handle that is free twice would name two sets
  if (set.object != 0) {
    objectSets_.erase(set.object);
  } else {
    inline_.erase(set.hops);
    for (auto const& hop : set.hops) {
      setsOfLink_.erase(static_cast<std::uint32_t>(hop.ifIndex), handle);
    }
  }
  // Last: `set` is this one.
  sets_[handle] = {};
  free_.push_back(handle);
}

bool NextHopSets::isKnown(Handle handle) const {
  return sets_[handle].object == 0 || nexthops_.isKnown(sets_[handle].object);
}

// A set that is written out is none: a route that refuses by itself has no set.
bool NextHopSets::isBlackhole(Handle handle) const {
  return sets_[handle].object != 0 && nexthops_.isBlackhole(sets_[handle].object);
}

std::vector<NextHop> NextHopSets::hopsOf(Handle handle) const {
  Set const& set = sets_[handle];
  return set.object == 0 ? set.hops : nexthops_.hopsOf(set.object);
}

std::span<NextHop const> NextHopSets::inlineHops(Handle handle) const {
  if (handle == none) return {};
  return sets_[handle].hops;
}

/// A link that is renamed, or comes, changes what every set through it shows. One that has lost its
/// name does not: its routes are about to go too, and until then nothing is made up.
void NextHopSets::onLinkName(std::int32_t index, Dovel::IntfId const& /*name*/) {
  if (!links_.linkName(index)) return;
  for (auto const& [link, handle] : setsOfLink_.of(static_cast<std::uint32_t>(index))) {
    if (isUsed(handle)) tell(handle);
  }
  // The name stands in the fec of each group that the object is a member of as well.
  for (auto const& [link, object] : nexthops_.ofLink(index)) changeWith(object);
}

void NextHopSets::changeWith(std::uint32_t object) {
  nexthops_.anyWith(object, [this](std::uint32_t id) {
    auto const set = objectSets_.find(id);
    if (set != objectSets_.end() && isUsed(set->second)) tell(set->second);
    // The visit goes on: each group that has the object shows its next hop too.
    return false;
  });
}

bool NextHopSets::usesLink(std::int32_t ifIndex, IpVersion version) const {
  // A nexthop object counts though no route uses it: it goes with its link as silently as routes
  // do.
  if (!nexthops_.ofLink(ifIndex).empty()) return true;
  auto const sets = setsOfLink_.of(static_cast<std::uint32_t>(ifIndex));
  return std::any_of(sets.begin(), sets.end(),
                     [&](auto const& pair) { return sets_[pair.second].isUsedBy(version); });
}

bool NextHopSets::usesObject(std::uint32_t id, IpVersion version) const {
  return nexthops_.anyWith(id, [&](std::uint32_t one) {
    auto const set = objectSets_.find(one);
    return set != objectSets_.end() && sets_[set->second].isUsedBy(version);
  });
}

}  // namespace Kelbase
