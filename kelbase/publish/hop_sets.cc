#include "kelbase/publish/hop_sets.h"

#include <algorithm>

#include <absl/hash/hash.h>
#include <fmt/format.h>

#include "kelbase/model/trace.h"
#include "platform/mav/time.h"

namespace Kelbase {

using Pondo::Fib::Fec;
using Pondo::Fib::FecId;

namespace {

/// Fecs written between two looks at the clock.
constexpr std::size_t writesALook = 16;

}  // namespace

std::size_t HopSets::HopsHash::operator()(std::span<Hop const> hops) const {
  return absl::HashOf(absl::MakeConstSpan(hops.data(), hops.size()));
}

bool HopSets::HopsEqual::operator()(std::span<Hop const> a, std::span<Hop const> b) const {
  return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

HopSets::HopSets(LinkNames& names) : names_(names) { names.observerIs(*this); }

HopSets::Handle HopSets::inlineSet(std::span<Hop const> hops) {
  if (hops.empty()) return none;
  auto const found = inline_.find(hops);
  if (found != inline_.end()) return found->second;
  Handle const handle = sets_.make();
  sets_[handle].hops.assign(hops.begin(), hops.end());
  inline_.emplace(sets_[handle].hops, handle);
  for (auto const& hop : hops) setsOfLink_.insert(static_cast<std::uint32_t>(hop.ifIndex), handle);
  unused(handle);  // until a route uses it
  return handle;
}

HopSets::Handle HopSets::objectSet(std::uint32_t object) {
  auto const [place, isNew] = objectSets_.try_emplace(object, none);
  if (isNew) {
    place->second = sets_.make();
    sets_[place->second].object = object;
    sets_[place->second].fecId = object;
    unused(place->second);
  }
  return place->second;
}

void HopSets::cutIs(Set& set, std::size_t hops) {
  bool const isCut = hops > Pondo::Fib::viasMax;
  if (std::exchange(set.isCut, isCut) == isCut) return;
  isCut ? ++cut_ : --cut_;
  if (!isCut || std::exchange(isCutTold_, true)) return;
  Mav::log(Mav::Severity::warning,
           fmt::format("a set of {} next hops: the first {} of such sets are published", hops,
                       Pondo::Fib::viasMax));
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

void HopSets::objectIs(ListedNexthop const& message) {
  auto& object = objects_[message.id];
  object.dump = dump_;
  if (object.content == message) return;
  MAV_TRACE(traceHandle(), 2, "nexthop object " << message.id << " changed");
  contentIs(object.content, message);
  changedObjects_.insert(message.id);
}

void HopSets::objectDel(std::uint32_t id) {
  auto const object = objects_.find(id);
  if (object == objects_.end()) return;
  MAV_TRACE(traceHandle(), 2, "nexthop object " << id << " is gone");
  contentIs(object->second.content, {});
  objects_.erase(object);
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

void HopSets::contentIs(ListedNexthop& content, ListedNexthop const& message) {
  auto const link = [](ListedNexthop const& object) {
    return static_cast<std::uint32_t>(object.hop.ifIndex);
  };
  objectsOfLink_.erase(link(content), content.id);
  for (auto const member : content.members) groupsOfMember_.erase(member, content.id);
  content = message;
  if (link(message) != 0) objectsOfLink_.insert(link(message), message.id);
  for (auto const member : message.members) groupsOfMember_.insert(member, message.id);
}

void HopSets::onLinkName(std::int32_t index, Dovel::IntfId const& /*name*/) {
  if (!names_.linkName(index)) return;  // it has lost it
  for (auto const& [link, handle] : setsOfLink_.of(static_cast<std::uint32_t>(index))) {
    if (sets_[handle].refs > 0) dirty(handle);
  }
  for (auto const& [link, object] : objectsOfLink_.of(static_cast<std::uint32_t>(index))) {
    dirtyWithGroups(object);
  }
}

bool HopSets::usesLink(std::int32_t ifIndex) const {
  auto const link = static_cast<std::uint32_t>(ifIndex);
  if (!objectsOfLink_.of(link).empty()) return true;
  auto const sets = setsOfLink_.of(link);
  return std::any_of(sets.begin(), sets.end(),
                     [this](auto const& pair) { return sets_[pair.second].refs > 0; });
}

bool HopSets::isUsed(std::uint32_t object) const {
  auto const set = objectSets_.find(object);
  return set != objectSets_.end() && sets_[set->second].refs > 0;
}

bool HopSets::usesObject(std::uint32_t id) const {
  auto const groups = groupsOfMember_.of(id);
  return isUsed(id) || std::any_of(groups.begin(), groups.end(),
                                   [this](auto const& pair) { return isUsed(pair.second); });
}

FecId HopSets::fecId(Handle handle) const { return FecId(sets_[handle].fecId); }

void HopSets::dirtyObject(std::uint32_t object) {
  if (isUsed(object)) dirty(objectSets_.at(object));
}

void HopSets::dirtyWithGroups(std::uint32_t object) {
  dirtyObject(object);
  for (auto const& [member, group] : groupsOfMember_.of(object)) dirtyObject(group);
}

void HopSets::dirtyChangedObjects() {
  for (auto const object : changedObjects_) dirtyWithGroups(object);
  changedObjects_.clear();
}

/// A set whose object is not known (any more) stays what it was.
bool HopSets::isContentKnown(Set const& set) const {
  return set.object == 0 || objects_.contains(set.object);
}

bool HopSets::consistsOf(std::uint32_t object, std::uint32_t part) const {
  auto const groups = groupsOfMember_.of(part);
  return object == part || std::any_of(groups.begin(), groups.end(),
                                       [&](auto const& pair) { return pair.second == object; });
}

/// A group with a blackhole has no other member (net/ipv4/nexthop.c, valid_group_nh).
bool HopSets::discards(std::uint32_t id) const {
  auto const object = objects_.find(id);
  if (object == objects_.end()) return false;
  auto const& members = object->second.content.members;
  return object->second.content.isBlackhole ||
         std::any_of(members.begin(), members.end(), [this](std::uint32_t member) {
           auto const found = objects_.find(member);
           return found != objects_.end() && found->second.content.isBlackhole;
         });
}

HopSets::Hops HopSets::hopsOf(Set const& set) const {
  if (set.object == 0) return set.hops;
  auto const& object = objects_.at(set.object).content;
  if (object.members.empty()) return {object.hop};
  Hops hops;
  for (auto const member : object.members) {
    auto const found = objects_.find(member);
    if (found != objects_.end()) hops.push_back(found->second.content.hop);
  }
  return hops;
}

/// What leads nowhere that can be named yet is left out.
Fec HopSets::fecOf(Set& set) {
  auto const hops = hopsOf(set);
  cutIs(set, hops.size());
  Fec fec;
  for (auto const& hop : std::span(hops).first(std::min(hops.size(), Pondo::Fib::viasMax))) {
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
  bool const isBlackhole = set.object != 0 && discards(set.object);
  if (isBlackhole || fec.vias.empty()) {
    wayIs(handle, isBlackhole ? Way::discard : Way::unknown);
    return false;
  }
  if (set.fecId == 0) set.fecId = fecNext_++;
  wayIs(handle, Way::forward);
  return writer.put<Pondo::FecTable>(FecId(set.fecId), fec);
}

void HopSets::writeFecs(Pondo::Writer& writer) {
  dirtyChangedObjects();
  double const end = Mav::now() + sliceTime;
  for (std::size_t written = 1; !dirty_.empty(); ++written) {
    Handle const handle = dirty_.front();
    dirty_.pop_front();
    if (std::exchange(sets_[handle].isDirty, false)) writeFec(writer, handle);
    if (written % writesALook == 0 && Mav::now() > end) return;
  }
}

/// Finds the sets whose fecs an earlier publisher wrote, by what the kernel goes by: a name that
/// changed meanwhile rewrites one fec, not its routes. An id that a set has is no other's. Returns
/// the ids that the table holds.
absl::flat_hash_set<std::uint64_t> HopSets::adopt(Pondo::Writer& writer) {
  absl::flat_hash_set<std::uint64_t> owned;
  absl::flat_hash_map<Hops, Set*, HopsHash, HopsEqual> orphans;
  sets_.forEach([&](Handle /*handle*/, Set& set) {
    auto const shown = std::span(set.hops).first(std::min(set.hops.size(), Pondo::Fib::viasMax));
    if (set.fecId != 0) owned.insert(set.fecId);
    if (set.fecId == 0) orphans.try_emplace(Hops(shown.begin(), shown.end()), &set);
  });
  absl::flat_hash_set<std::uint64_t> present;
  writer.scan<Pondo::FecTable>([&](FecId id, Fec const& fec) {
    present.insert(id.value());
    fecNext_ = std::max(fecNext_, id.value() + 1);
    if (id.value() < inlineFecMin || owned.contains(id.value())) return;
    Hops hops;
    for (auto const& via : fec.vias) hops.push_back({via.nextHop, via.ifIndex});
    auto const orphan = orphans.find(hops);
    if (orphan == orphans.end()) return;
    orphan->second->fecId = id.value();
    orphans.erase(orphan);
  });
  return present;
}

Pondo::Writer::SyncCounts HopSets::writeAll(Pondo::Writer& writer) {
  dirtyChangedObjects();
  auto present = adopt(writer);
  Pondo::Writer::SyncCounts counts;
  sets_.forEach([&](Handle handle, Set const& set) {
    bool const changed = writeFec(writer, handle);
    bool const wasThere = present.erase(set.fecId) != 0;
    if (!isPublished(set)) return unused(handle);
    ++(!wasThere ? counts.added : (changed ? counts.changed : counts.unchanged));
  });
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
  for (; !unused_.empty(); unused_.pop_back()) {
    Set& set = sets_[unused_.back()];
    if (!isPublished(set) && set.fecId != 0) writer.erase<Pondo::FecTable>(FecId(set.fecId));
    set.isUnused = false;
    if (set.refs == 0) forget(unused_.back());
  }
}

void HopSets::forget(Handle handle) {
  Set& set = sets_[handle];
  if (set.object != 0) {
    objectSets_.erase(set.object);
  } else {
    inline_.erase(set.hops);
    for (auto const& hop : set.hops) {
      setsOfLink_.erase(static_cast<std::uint32_t>(hop.ifIndex), handle);
    }
  }
  cutIs(set, 0);
  sets_.free(handle);
}

}  // namespace Kelbase
