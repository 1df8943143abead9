#include "platform/state/mirrors/neighbour4_mirror.h"

namespace State {

namespace {

Arp::ArpEntryStatus entryStatus(Pondo::Neighbour4Table::Key const& key,
                                Pondo::Neighbour4Table::Record const& record) {
  return {key.addr, record.ethAddr, record.isStatic};
}

}  // namespace

void Neighbour4Mirror::begin() {
  TableMirror::begin();
  changes_.clear();
  unsettled_.clear();
}

void Neighbour4Mirror::interfaceChanged(Pondo::Snapshot const& snapshot,
                                        InterfaceChange const& change) {
  // A link that stays keeps its neighbours, whether it is up or down.
  if (change.before && change.after && !leaves(change)) return;
  changes_.push_back(change);
  forEachFiled(Pondo::addressKeysOf(change.key),
               [&](std::string_view keyBytes) { read(snapshot, keyBytes); });
}

void Neighbour4Mirror::apply(Phase phase) {
  if (phase == Phase::withdraw) withdraw();
  if (phase == Phase::announce) announce();
}

void Neighbour4Mirror::withdraw() {
  // All that leave have left before one comes: in one slice two links may have swapped their names.
  for (auto const& [link, before, after] : changes_) {
    // Without effect for a name that is new.
    statusDel(link);
    if (!before) continue;
    links_.erase({before->ifIndex, link});
    unsettled_.insert(before->ifIndex);
  }
  for (auto const& [link, before, after] : changes_) {
    if (!after) continue;
    links_.insert({after->ifIndex, link});
    unsettled_.insert(after->ifIndex);
  }
  // To delete an ARP status withdraws every row of its ifIndex. So the ones that must not stand go
  // before the owner's neighbours are announced anew.
  for (auto const ifIndex : unsettled_) {
    auto const* const owner = ownerOf(ifIndex);
    for (auto it = links_.lower_bound({ifIndex, {}}); it != links_.end() && it->ifIndex == ifIndex;
         ++it) {
      if (it->link != *owner) statusDel(it->link);
    }
  }
  for (auto const& delta : deltas()) {
    if (delta.after) continue;
    // Their ARP status may have gone just before, and they with it.
    if (auto const status = dir_->arpIntfStatus(delta.key.link.stringValue())) {
      status->arpEntryDel(delta.key.addr);
    }
  }
}

void Neighbour4Mirror::announce() {
  for (auto const ifIndex : unsettled_) {
    auto const* const owner = ownerOf(ifIndex);
    // Null where the last link of this ifIndex has gone.
    if (owner) fill(*dir_->arpIntfStatusIs(owner->stringValue()), *owner);
  }
  for (auto const& delta : deltas()) {
    if (!delta.after) continue;
    // A neighbour that comes before its link is filed all the same, and announced with it (fill).
    if (auto const status = dir_->arpIntfStatus(delta.key.link.stringValue())) {
      status->arpEntryIs(entryStatus(delta.key, *delta.after));
    }
  }
}

Dovel::IntfId const* Neighbour4Mirror::ownerOf(std::int32_t ifIndex) const {
  auto const first = links_.lower_bound({ifIndex, {}});
  return first != links_.end() && first->ifIndex == ifIndex ? &first->link : nullptr;
}

void Neighbour4Mirror::fill(Arp::ArpIntfStatus& status, Dovel::IntfId const& link) const {
  forEachFiled(Pondo::addressKeysOf(link), [&](std::string_view keyBytes) {
    auto const key = *Pondo::Neighbour4Table::decodeKey(keyBytes);
    // As this slice leaves it: what it takes away is filed still, and comes no more.
    if (auto const record = now(key)) status.arpEntryIs(entryStatus(key, *record));
  });
}

}  // namespace State
