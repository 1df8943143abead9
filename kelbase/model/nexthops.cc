#include "kelbase/model/nexthops.h"

#include <algorithm>

#include <fmt/format.h>

#include "kelbase/model/trace.h"

namespace Kelbase {

void Nexthops::is(ListedNexthop const& object) {
  auto const [known, isNew] = objects_.mark(object.id);
  if (!isNew && known == object) return;
  MAV_TRACE(traceHandle(), 2, "nexthop object " << object.id << " changed");
  // Of a new object there is nothing to take out, and to take out nothing is no fault (Relation).
  unrelate(known);
  known = object;
  relate(known);
  for (auto* observer : observers_) observer->onNexthop(object.id);
}

void Nexthops::del(std::uint32_t id) {
  if (auto const* known = objects_.find(id)) {
    MAV_TRACE(traceHandle(), 2, "nexthop object " << id << " is gone");
    // While `known` is there: it says which pairs to take out.
    unrelate(*known);
    objects_.del(id);
  }
  // Of an object that was not known, too: routes may have named it before its own message came.
  for (auto* observer : observers_) observer->onNexthopGone(id);
}

void Nexthops::dumpEnd(bool whole) {
  if (!whole) return;
  for (auto const id : objects_.unmarked()) del(id);
}

void Nexthops::relate(ListedNexthop const& object) {
  auto const link = static_cast<std::uint32_t>(object.hop.ifIndex);
  // A group and a blackhole lead through no link of their own.
  if (link != 0) objectsOfLink_.insert(link, object.id);
  for (auto const member : object.members) groupsOfMember_.insert(member, object.id);
}

void Nexthops::unrelate(ListedNexthop const& object) {
  objectsOfLink_.erase(static_cast<std::uint32_t>(object.hop.ifIndex), object.id);
  for (auto const member : object.members) groupsOfMember_.erase(member, object.id);
}

/// A group with a blackhole has no other member (net/ipv4/nexthop.c, valid_group_nh).
bool Nexthops::isBlackhole(std::uint32_t id) const {
  auto const* object = objects_.find(id);
  if (!object) return false;
  auto const& members = object->members;
  return object->isBlackhole ||
         std::any_of(members.begin(), members.end(), [this](std::uint32_t member) {
           auto const* one = objects_.find(member);
           return one && one->isBlackhole;
         });
}

std::vector<NextHop> Nexthops::hopsOf(std::uint32_t id) const {
  auto const* object = objects_.find(id);
  if (!object) return {};
  // One hop even of a blackhole, with neither gateway nor link: callers ask isBlackhole().
  if (object->members.empty()) return {object->hop};
  std::vector<NextHop> hops;
  for (auto const member : object->members) {
    // A member that has not been heard of yet comes with a message of its own, which is told for
    // its groups too (anyWith).
    if (auto const* one = objects_.find(member)) hops.push_back(one->hop);
  }
  return hops;
}

std::string Nexthops::summary() const {
  return fmt::format("{} nexthop object{}", size(), size() == 1 ? "" : "s");
}

}  // namespace Kelbase
