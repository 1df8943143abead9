#include "platform/state/mirrors/link_mirror.h"

namespace State {

void LinkMirror::begin() {
  TableMirror::begin();
  changes_.clear();
}

void LinkMirror::read(Pondo::Snapshot const& snapshot, std::string_view key) {
  std::size_t const known = deltas().size();
  TableMirror::read(snapshot, key);
  // Nothing differs, or the slice has named the link before.
  if (deltas().size() == known) return;
  auto const& delta = deltas().back();
  changes_.push_back({delta.key, delta.before, delta.after});
}

void LinkMirror::apply(Phase phase) {
  if (phase == Phase::interfacesGo) applyLeaving();
  if (phase == Phase::interfacesCome) applyComing();
}

void LinkMirror::applyLeaving() {
  for (auto const& change : changes_) {
    // A name that goes over to another ifIndex leaves here, and comes in the next phase: an
    // IntfStatus is of one pair of both.
    if (change.leaves()) dir_->intfStatusDel(change.intfId);
  }
}

void LinkMirror::applyComing() {
  for (auto const& delta : deltas()) {
    if (!delta.after) continue;
    // A link that stays changes in place: whoever holds its IntfStatus goes on with it.
    dir_->intfStatusIs(delta.key, delta.after->ifIndex, delta.after->operUp);
  }
}

}  // namespace State
