#pragma once
// Keeps Interface::AllIntfStatusDir as the link table says. A record whose ifIndex changed is an
// interface that goes and another that comes; a change of anything else is made in place.
//
// The mirrors of addresses ask it within a slice for the links as the slice leaves them, so that it
// stands before them in the list. On the agent's thread.

#include "platform/pondo/tables/tables.h"
#include "platform/state/entities/all_intf_status_dir.h"
#include "platform/state/mirrors/table_mirror.h"

namespace State {

class LinkMirror : public TableMirror<Pondo::LinkTable> {
 public:
  explicit LinkMirror(Mav::Ptr<Interface::AllIntfStatusDir> dir) : dir_(std::move(dir)) {}

  /// In the order in which the slice named them; whatever of a link differs.
  std::span<InterfaceChange const> interfaceChanges() const override { return deltas(); }
  void apply(Phase phase) override {
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

  /// The link as this slice leaves it; nothing when there is none of that name.
  std::optional<Record> link(Dovel::IntfId const& intfId) const { return now(intfId); }

 private:
  Mav::Ptr<Interface::AllIntfStatusDir> const dir_;
};

}  // namespace State
