#pragma once
// All mirrors as one listener of the shared tables: applies every slice of changes in the order of
// State::Phase, whatever the order in which the slice names its keys, and stands the observer
// around changes of what is mounted.
//
// Owns the interface directory, and provides Intf::intfDetailsProvider while it lives. All on the
// agent's thread.

#include <memory>
#include <vector>

#include "platform/mav/directory.h"
#include "platform/pondo/follower.h"
#include "platform/state/all_intf_status_dir.h"
#include "platform/state/intf_details_provider.h"
#include "platform/state/mirror.h"
#include "platform/state/mount_observer.h"

namespace State {

class Mirrors : public Pondo::Listener, private Intf::IntfDetailsProvider {
 public:
  /// The mirrors of all tables. Entities are mounted in `directory`; both must outlive this.
  Mirrors(Mav::Directory& directory, MountObserver& observer);
  /// Mirrors of the caller's choice, over `dir`.
  Mirrors(MountObserver& observer, Mav::Ptr<Interface::AllIntfStatusDir> dir,
          std::vector<std::unique_ptr<Mirror>> mirrors);
  ~Mirrors() override;

  Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir() const { return dir_; }

  std::span<Pondo::TableId const> tables() const override { return tables_; }
  void onChanges(Pondo::Snapshot const& snapshot, std::span<Pondo::Change const> changes) override;
  std::optional<std::string> filedKey(Pondo::TableId table, std::string_view from) const override;
  void onInSync() override { observer_.stateIsKnown(); }

 private:
  Mirrors(Mav::Directory& directory, MountObserver& observer,
          Mav::Ptr<Interface::AllIntfStatusDir> const& dir);
  std::int32_t ifIndex(Interface::IntfStatus const& status) const override;
  Mirror* mirror(Pondo::TableId table) const;
  void read(Pondo::Snapshot const& snapshot, std::span<Pondo::Change const> changes);
  void apply();

  MountObserver& observer_;
  Mav::Ptr<Interface::AllIntfStatusDir> const dir_;
  std::vector<std::unique_ptr<Mirror>> const mirrors_;
  std::vector<Pondo::TableId> tables_;
};

}  // namespace State
