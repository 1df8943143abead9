#include "platform/state/mirrors/address4_mirror.h"

#include <utility>

namespace State {

unsigned Address4Mirror::Numbers::take() {
  return free_.empty() ? next_++ : free_.extract(free_.begin()).value();
}

void Address4Mirror::apply(Phase phase) {
  // First: it touches keys that withdraw() has to look at.
  if (phase == Phase::withdraw) renumber();
  AddressMirror::apply(phase);
  if (phase != Phase::interfacesGo) return;
  // By now every mirror has withdrawn what hung on these interfaces.
  for (auto const& intfId : std::exchange(going_, {})) dir_->intfStatusDel(intfId);
}

void Address4Mirror::renumber() {
  // comes() below asks what is renumbered: nothing is until all have been found.
  renumbered_.clear();
  absl::btree_set<Key> renumbered;
  for (auto const& key : touched()) {
    // One bit more than the longest prefix has: the end lies behind every peer of that one.
    auto const [first, end] = servedBetween({key.link, key.local, 0, {}},
                                            {key.link, key.local, Dovel::IpAddr::bits + 1, {}});
    // They stand in the order of lengths: where the first and the last have this one, all have.
    bool const otherLengths = first != end && (first->first.length != key.length ||
                                               std::prev(end)->first.length != key.length);
    // Only what comes draws a number. What goes leaves the order of the others as it is.
    if (!otherLengths || !comes(key)) continue;
    for (auto it = first; it != end; ++it) renumbered.insert(it->first);
  }
  for (auto const& key : renumbered) touch(key);
  renumbered_ = std::move(renumbered);
}

Dovel::IpAddrWithMask Address4Mirror::addrWithMask(Key const& key, Record const&) const {
  return {key.local, key.length};
}

Dovel::IntfId Address4Mirror::intfIdFor(Key const& key) {
  // admit() goes in the order of keys: of one address the shortest prefix draws first.
  auto const number = numbersOf_[key.link].take();
  return number == 1 ? key.link : key.link.further(number);
}

void Address4Mirror::intfIdFree(Key const& key, Served const& served) {
  auto const numbers = numbersOf_.find(key.link);
  bool const own = served.intfId == key.link;
  numbers->second.give(own ? 1 : served.intfId.number());
  if (!own) going_.push_back(served.intfId);
  // A link that has gone leaves nothing behind.
  if (numbers->second.unused()) numbersOf_.erase(numbers);
}

void Address4Mirror::interfaceIs(Key const& key, Served const& served, LinkRecord const& link) {
  // The link's own IntfStatus is the LinkMirror's.
  if (served.intfId == key.link) return;
  dir_->intfStatusIs(served.intfId, link.ifIndex, link.operUp);
}

void Address4Mirror::addressIs(AddressSource source, Dovel::IntfId const& intfId,
                               Dovel::IpAddrWithMask const& addr) {
  inDir(source, [&](auto& dir) { dir.intfIs(intfId)->addressIs(addr); });
}

void Address4Mirror::addressDel(AddressSource source, Dovel::IntfId const& intfId,
                                Dovel::IpAddrWithMask const&) {
  // The interface has this one address, and goes with it.
  inDir(source, [&](auto& dir) { dir.intfDel(intfId); });
}

void Address4Mirror::addressAgain(AddressSource source, Dovel::IntfId const& intfId,
                                  Dovel::IpAddrWithMask const& addr) {
  // The interface stays: the empty address in the place of its one address withdraws that.
  addressIs(source, intfId, {});
  addressIs(source, intfId, addr);
}

}  // namespace State
