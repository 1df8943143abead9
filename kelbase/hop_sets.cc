#include "kelbase/hop_sets.h"

#include <algorithm>

#include <absl/hash/hash.h>
#include <fmt/format.h>

#include "kelbase/trace.h"

namespace Kelbase {

using Pondo::Fib::Fec;
using Pondo::Fib::FecId;

std::size_t HopSets::HopsHash::operator()(std::span<Hop const> hops) const {
  return absl::HashOf(absl::MakeConstSpan(hops.data(), hops.size()));
}

bool HopSets::HopsEqual::operator()(std::span<Hop const> a, std::span<Hop const> b) const {
  return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

HopSets::HopSets(LinkNames& names) : names_(names) { names.observerIs(*this); }

HopSets::Handle HopSets::newSet() {
  if (free_.empty()) {
    sets_.emplace_back();
    return static_cast<Handle>(sets_.size() - 1);
  }
  Handle const handle = free_.back();
  free_.pop_back();
  return handle;
}

HopSets::Handle HopSets::inlineSet(std::span<Hop const> hops) {
  if (hops.empty()) return none;
  hops = cutHops(hops);
  auto const found = inline_.find(hops);
  if (found != inline_.end()) return found->second;
  Handle const handle = newSet();
  sets_[handle].hops.assign(hops.begin(), hops.end());
  inline_.emplace(sets_[handle].hops, handle);
  unused(handle);  // until a route uses it
  return handle;
}

HopSets::Handle HopSets::objectSet(std::uint32_t object) {
  auto const [place, isNew] = objectSets_.try_emplace(object, none);
  if (isNew) {
    place->second = newSet();
    sets_[place->second].object = object;
    sets_[place->second].fecId = object;
    unused(place->second);
  }
  return place->second;
}

std::span<Hop const> HopSets::cutHops(std::span<Hop const> hops) {
  if (hops.size() <= Pondo::Fib::viasMax) return hops;
  if (cut_++ == 0) {
    Mav::log(Mav::Severity::warning,
             fmt::format("a set of {} next hops: the first {} of such sets are published",
                         hops.size(), Pondo::Fib::viasMax));
  }
  return hops.first(Pondo::Fib::viasMax);
}

void HopSets::ref(Handle handle) {
  if (handle == none || sets_[handle].refs++ > 0) return;
  ++used_;
  dirty(handle);
}

void HopSets::unref(Handle handle) {
  if (handle == none || --sets_[handle].refs > 0) return;
  --used_;
  unused(handle);
}

void HopSets::dirty(Handle handle) {
  if (!std::exchange(sets_[handle].isDirty, true)) dirty_.push_back(handle);
}

void HopSets::unused(Handle handle) {
  if (!std::exchange(sets_[handle].isUnused, true)) unused_.push_back(handle);
}

void HopSets::objectIs(NexthopMessage const& message) {
  auto& object = objects_[message.id];
  auto const& old = object.content;
  bool const isSame = old.id == message.id && old.members == message.members &&
                      old.isBlackhole == message.isBlackhole && old.hop == message.hop;
  object.dump = dump_;
  if (isSame) return;
  MAV_TRACE(traceHandle(), 2, "nexthop object " << message.id << " changed");
  object.content = message;
  changedObjects_.insert(message.id);
}

void HopSets::objectDel(std::uint32_t id) {
  if (objects_.erase(id) == 0) return;
  MAV_TRACE(traceHandle(), 2, "nexthop object " << id << " is gone");
  changedObjects_.insert(id);
}

void HopSets::dumpEnd(bool whole) {
  if (!whole) return;
  std::vector<std::uint32_t> gone;
  for (auto const& [id, object] : objects_) {
    if (object.dump != dump_) gone.push_back(id);
  }
  for (auto const id : gone) objectDel(id);
}

void HopSets::onLinkName(std::int32_t index, Dovel::IntfId const& /*name*/) {
  if (!names_.linkName(index)) return;  // it has lost it
  for (Handle handle = 1; handle < sets_.size(); ++handle) {
    if (sets_[handle].refs > 0 && leadsThrough(sets_[handle], index)) dirty(handle);
  }
}

bool HopSets::leadsThrough(Set const& set, std::int32_t ifIndex) const {
  auto const leads = [ifIndex](Hop const& hop) { return hop.ifIndex == ifIndex; };
  if (set.object == 0) return std::any_of(set.hops.begin(), set.hops.end(), leads);
  auto const object = objects_.find(set.object);
  if (object == objects_.end()) return false;
  auto const& members = object->second.content.members;
  return leads(object->second.content.hop) ||
         std::any_of(members.begin(), members.end(), [&](std::uint32_t member) {
           auto const found = objects_.find(member);
           return found != objects_.end() && leads(found->second.content.hop);
         });
}

bool HopSets::usesLink(std::int32_t ifIndex) const {
  auto const used = [&](Set const& set) { return set.refs > 0 && leadsThrough(set, ifIndex); };
  auto const leads = [&](auto const& object) {
    return object.second.content.hop.ifIndex == ifIndex;
  };
  return std::any_of(sets_.begin(), sets_.end(), used) ||
         std::any_of(objects_.begin(), objects_.end(), leads);
}

bool HopSets::hasMember(std::uint32_t group, std::uint32_t member) const {
  auto const found = objects_.find(group);
  if (found == objects_.end()) return false;
  auto const& members = found->second.content.members;
  return std::find(members.begin(), members.end(), member) != members.end();
}

bool HopSets::usesObject(std::uint32_t id) const {
  return std::any_of(objectSets_.begin(), objectSets_.end(), [&](auto const& entry) {
    return sets_[entry.second].refs > 0 && (entry.first == id || hasMember(entry.first, id));
  });
}

FecId HopSets::fecId(Handle handle) const { return FecId(sets_[handle].fecId); }

void HopSets::dirtyChangedObjects() {
  if (changedObjects_.empty()) return;
  for (auto const& [id, handle] : objectSets_) {
    auto const object = objects_.find(id);
    if (sets_[handle].refs == 0 || object == objects_.end()) continue;
    auto const& members = object->second.content.members;
    bool const changed = changedObjects_.contains(id) ||
                         std::any_of(members.begin(), members.end(), [this](std::uint32_t member) {
                           return changedObjects_.contains(member);
                         });
    if (changed) dirty(handle);
  }
  changedObjects_.clear();
}

/// A set whose object is not known (any more) stays what it was.
bool HopSets::isContentKnown(Set const& set) const {
  return set.object == 0 || objects_.contains(set.object);
}

/// A group with a blackhole has no other member (net/ipv4/nexthop.c, valid_group_nh).
bool HopSets::discards(Set const& set) const {
  auto const object = objects_.find(set.object);
  if (object == objects_.end()) return false;
  auto const& members = object->second.content.members;
  return object->second.content.isBlackhole ||
         std::any_of(members.begin(), members.end(), [this](std::uint32_t member) {
           auto const found = objects_.find(member);
           return found != objects_.end() && found->second.content.isBlackhole;
         });
}

HopSets::Hops HopSets::hopsOf(Set const& set) {
  if (set.object == 0) return set.hops;
  auto const& object = objects_.at(set.object).content;
  if (object.members.empty()) return {object.hop};
  Hops hops;
  for (auto const member : object.members) {
    auto const found = objects_.find(member);
    if (found != objects_.end()) hops.push_back(found->second.content.hop);
  }
  auto const kept = cutHops(hops);
  hops.resize(kept.size());
  return hops;
}

/// What leads nowhere that can be named yet is left out.
Fec HopSets::fecOf(Set const& set) {
  Fec fec;
  for (auto const& hop : hopsOf(set)) {
    auto const name = names_.linkName(hop.ifIndex);
    if (name) {
      fec.vias.push_back({hop.nextHop, *name, hop.ifIndex});
    } else if (!hop.nextHop.isUnspecified()) {
      fec.vias.push_back({hop.nextHop, {}, 0});
    }
  }
  return fec;
}

void HopSets::wayIs(Handle handle, Way way) {
  Set& set = sets_[handle];
  bool const isNew = !std::exchange(set.isSettled, true);
  if (std::exchange(set.way, way) == way) return;
  if (!isNew) turned_.push_back(handle);
  if (way != Way::forward) unused(handle);
}

bool HopSets::writeFec(Pondo::Writer& writer, Handle handle) {
  Set& set = sets_[handle];
  if (set.refs == 0) return false;
  if (!isContentKnown(set)) {
    wayIs(handle, set.way);
    return false;
  }
  auto const fec = fecOf(set);
  if (discards(set) || fec.vias.empty()) {
    wayIs(handle, discards(set) ? Way::discard : Way::unknown);
    return false;
  }
  if (set.fecId == 0) set.fecId = fecNext_++;
  wayIs(handle, Way::forward);
  return writer.put<Pondo::FecTable>(FecId(set.fecId), fec);
}

void HopSets::writeFecs(Pondo::Writer& writer) {
  dirtyChangedObjects();
  for (auto const handle : dirty_) {
    sets_[handle].isDirty = false;
    writeFec(writer, handle);
  }
  dirty_.clear();
}

/// By what the kernel goes by: a name that changed meanwhile rewrites one fec, not its routes.
void HopSets::adopt(std::uint64_t id, Fec const& fec) {
  Hops hops;
  for (auto const& via : fec.vias) hops.push_back({via.nextHop, via.ifIndex});
  auto const found = inline_.find(hops);
  if (found == inline_.end() || sets_[found->second].fecId != 0) return;
  sets_[found->second].fecId = id;
}

Pondo::Writer::SyncCounts HopSets::writeAll(Pondo::Writer& writer) {
  dirtyChangedObjects();
  absl::flat_hash_set<std::uint64_t> present;
  writer.scan<Pondo::FecTable>([&](FecId id, Fec const& fec) {
    present.insert(id.value());
    fecNext_ = std::max(fecNext_, id.value() + 1);
    if (id.value() >= inlineFecMin) adopt(id.value(), fec);
  });
  Pondo::Writer::SyncCounts counts;
  for (Handle handle = 1; handle < sets_.size(); ++handle) {
    bool const changed = writeFec(writer, handle);
    bool const wasThere = present.erase(sets_[handle].fecId) != 0;
    if (!isPublished(sets_[handle])) {
      unused(handle);
      continue;
    }
    ++(!wasThere ? counts.added : (changed ? counts.changed : counts.unchanged));
  }
  for (auto const handle : dirty_) sets_[handle].isDirty = false;
  dirty_.clear();
  turned_.clear();  // every route is compared now
  superfluous_.assign(present.begin(), present.end());
  counts.removed = superfluous_.size();
  return counts;
}

void HopSets::eraseUnused(Pondo::Writer& writer) {
  for (auto const id : std::exchange(superfluous_, {})) {
    auto const object =
        id < inlineFecMin ? objectSets_.find(static_cast<std::uint32_t>(id)) : objectSets_.end();
    if (object == objectSets_.end() || !isPublished(sets_[object->second])) {
      writer.erase<Pondo::FecTable>(FecId(id));
    }
  }
  for (auto const handle : std::exchange(unused_, {})) {
    Set& set = sets_[handle];
    set.isUnused = false;
    if (isPublished(set)) continue;
    if (set.fecId != 0) writer.erase<Pondo::FecTable>(FecId(set.fecId));
    if (set.refs == 0) forget(handle);
  }
}

void HopSets::forget(Handle handle) {
  Set& set = sets_[handle];
  if (set.object != 0) {
    objectSets_.erase(set.object);
  } else {
    inline_.erase(set.hops);
  }
  if (set.isDirty) std::erase(dirty_, handle);
  set = {};
  free_.push_back(handle);
}

}  // namespace Kelbase
