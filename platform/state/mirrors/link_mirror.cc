#include "platform/state/mirrors/link_mirror.h"

namespace State {

void LinkMirror::apply(Phase phase) {
  // Leaving and coming in phases of their own: of two links that swap their names, both leave
  // before one comes.
  for (auto const& delta : deltas()) {
    // A name that goes over to another ifIndex leaves here, and comes in the next phase: an
    // IntfStatus is of one pair of both.
    if (phase == Phase::interfacesGo && leaves(delta)) dir_->intfStatusDel(delta.key);
    // A link that stays changes in place: whoever holds its IntfStatus goes on with it.
    if (phase == Phase::interfacesCome && delta.after) {
      dir_->intfStatusIs(delta.key, delta.after->ifIndex, delta.after->operUp);
    }
  }
}

}  // namespace State
