#include "platform/state/mirrors/address4_mirror.h"

#include <utility>

namespace State {

namespace {

Dovel::IntfId numbered(Dovel::IntfId const& link, unsigned number) {
  return Dovel::IntfId(link.stringValue() + '#' + std::to_string(number));
}

}  // namespace

void Address4Mirror::interfaceChanged(Pondo::Snapshot const& snapshot,
                                      InterfaceChange const& change) {
  AddressMirror::interfaceChanged(snapshot, change);
  if (!change.after) return;
  auto const user = furtherIds_.find(change.intfId);
  if (user != furtherIds_.end()) touch(user->second.key);  // it has to make room
}

void Address4Mirror::apply(Phase phase) {
  AddressMirror::apply(phase);
  if (phase != Phase::interfacesGo) return;
  for (auto const& intfId : std::exchange(going_, {})) dir_->intfStatusDel(intfId);
}

Dovel::IpAddrWithMask Address4Mirror::addrWithMask(Key const& key, Record const&) const {
  return {key.local, key.length};
}

bool Address4Mirror::keepsIntfId(Key const& key, Served const& served) const {
  return served.intfId == key.link || !links().link(served.intfId);
}

Dovel::IntfId Address4Mirror::intfIdFor(Key const& key, Record const& record) {
  auto& ids = idsOf_[key.link];
  if (!std::exchange(ids.own, true)) return key.link;
  FurtherId further{key};
  auto intfId = record.label;
  if (!isFree(intfId)) {
    further.number = takeNumber(key.link, ids);
    intfId = numbered(key.link, further.number);
  }
  ++ids.further;
  furtherIds_.emplace(intfId, further);
  return intfId;
}

bool Address4Mirror::isFree(Dovel::IntfId const& intfId) const {
  return !intfId.empty() && !furtherIds_.contains(intfId) && !links().link(intfId);
}

unsigned Address4Mirror::takeNumber(Dovel::IntfId const& link, LinkIds& ids) const {
  for (auto it = ids.free.begin(); it != ids.free.end(); ++it) {
    if (isFree(numbered(link, *it))) return ids.free.extract(it).value();
  }
  while (!isFree(numbered(link, ids.next))) ids.free.insert(ids.next++);
  return ids.next++;
}

void Address4Mirror::intfIdFree(Key const& key, Served const& served) {
  auto& ids = idsOf_[key.link];
  if (served.intfId == key.link) {
    ids.own = false;
  } else {
    auto const further = furtherIds_.extract(served.intfId).mapped();
    if (further.number != 0) ids.free.insert(further.number);
    --ids.further;
    going_.push_back(served.intfId);
  }
  if (!ids.own && ids.further == 0) idsOf_.erase(key.link);
}

void Address4Mirror::interfaceIs(Key const& key, Served const& served, LinkRecord const& link) {
  if (served.intfId == key.link) return;
  dir_->intfStatusIs(served.intfId, link.ifIndex, link.operUp);
}

void Address4Mirror::addressIs(AddressSource source, Dovel::IntfId const& intfId,
                               Dovel::IpAddrWithMask const& addr) {
  if (source == AddressSource::config) {
    config_->ipIntfConfigIs(intfId)->addrWithMaskIs(addr);
  } else {
    status_->ipIntfStatusIs(intfId)->activeAddrWithMaskIs(addr);
  }
}

void Address4Mirror::addressDel(AddressSource source, Dovel::IntfId const& intfId,
                                Dovel::IpAddrWithMask const&) {
  if (source == AddressSource::config) {
    config_->ipIntfConfigDel(intfId);
  } else {
    status_->ipIntfStatusDel(intfId);
  }
}

void Address4Mirror::addressAgain(AddressSource source, Dovel::IntfId const& intfId,
                                  Dovel::IpAddrWithMask const& addr) {
  addressIs(source, intfId, {});
  addressIs(source, intfId, addr);
}

}  // namespace State
