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

  void begin() override;
  void read(Pondo::Snapshot const& snapshot, std::string_view key) override;
  /// In the order in which the slice named them; whatever of a link differs.
  std::span<InterfaceChange const> interfaceChanges() const override { return changes_; }
  void apply(Phase phase) override;

  /// The link as this slice leaves it; nothing when there is none of that name.
  std::optional<Record> link(Dovel::IntfId const& intfId) const { return now(intfId); }

 private:
  /// The two in phases of their own: of two links that swap their names, both leave before one
  /// comes.
  void applyLeaving();
  void applyComing();

  Mav::Ptr<Interface::AllIntfStatusDir> const dir_;
  std::vector<InterfaceChange> changes_;
};

}  // namespace State
