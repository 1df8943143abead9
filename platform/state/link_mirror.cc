#include "platform/state/link_mirror.h"

namespace State {

void LinkMirror::begin() {
  TableMirror::begin();
  leaving_.clear();
}

void LinkMirror::read(Pondo::Snapshot const& snapshot, std::string_view key) {
  std::size_t const known = deltas().size();
  TableMirror::read(snapshot, key);
  if (deltas().size() == known) return;
  auto const& delta = deltas().back();
  bool const stays = delta.before && delta.after && delta.before->ifIndex == delta.after->ifIndex;
  if (delta.before && !stays) leaving_.push_back(delta.key);
}

void LinkMirror::apply(Phase phase) {
  if (phase == Phase::interfacesGo) applyLeaving();
  if (phase == Phase::interfacesCome) applyComing();
}

void LinkMirror::applyLeaving() {
  for (auto const& intfId : leaving_) dir_->intfStatusDel(intfId);
}

void LinkMirror::applyComing() {
  for (auto const& delta : deltas()) {
    if (!delta.after) continue;
    dir_->intfStatusIs(delta.key, delta.after->ifIndex, delta.after->operUp);
  }
}

}  // namespace State
