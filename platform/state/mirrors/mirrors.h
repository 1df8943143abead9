#pragma once
// All mirrors as one listener of the shared tables: applies every slice of changes in the order of
// State::Phase, whatever the order in which the slice names its keys, and stands the observer
// around changes of what is mounted.
//
// Owns the entities that are not mounted (DeviceState), and provides Intf::intfDetailsProvider
// while it lives. All on the agent's thread.

#include <memory>
#include <vector>

#include "platform/mav/directory.h"
#include "platform/pondo/follower/follower.h"
#include "platform/state/entities/all_intf_status_dir.h"
#include "platform/state/entities/arp_neighbor_dir.h"
#include "platform/state/entities/intf_details_provider.h"
#include "platform/state/entities/ip6_addresses.h"
#include "platform/state/entities/ip_addresses.h"
#include "platform/state/mirrors/mirror.h"

namespace State {

/// Stands around changes of what is mounted, for those who hold plain pointers to mounted
/// entities (the handlers' registrations do). State::Mirrors calls it on the agent's thread, and
/// does not own it.
class MountObserver {
 public:
  virtual ~MountObserver() = default;

  /// Entities are about to be unmounted or mounted: let go of every pointer to one.
  virtual void mountsWillChange() noexcept = 0;
  /// What is mounted stays so until the next mountsWillChange(). Not called where the slice failed
  /// in between: the next attempt begins with mountsWillChange() again.
  virtual void mountsHaveChanged() = 0;

  /// Every table is known: there is state to serve. Called after every full comparison.
  virtual void stateIsKnown() = 0;
};

/// The entities that the mirrors fill and that are not mounted. By counted pointers: whoever holds
/// one keeps it, whatever becomes of the mirrors. New and empty, unless given. What fills them:
/// intfStatusDir LinkMirror, with the further interfaces Address4Mirror; ipConfig and ipStatus
/// Address4Mirror; ip6Config and ip6Status Address6Mirror; arpStatus Neighbour4Mirror.
struct DeviceState {
  Mav::Ptr<Interface::AllIntfStatusDir> intfStatusDir =
      Mav::makeObject<Interface::AllIntfStatusDir>();
  Mav::Ptr<Ip::Config> ipConfig = Mav::makeObject<Ip::Config>();
  Mav::Ptr<Ip::Status> ipStatus = Mav::makeObject<Ip::Status>();
  Mav::Ptr<Ip6::Config> ip6Config = Mav::makeObject<Ip6::Config>();
  Mav::Ptr<Ip6::Status> ip6Status = Mav::makeObject<Ip6::Status>();
  Mav::Ptr<Arp::NeighborDir> arpStatus = Mav::makeObject<Arp::NeighborDir>();
};

class Mirrors : public Pondo::Listener, private Intf::IntfDetailsProvider {
 public:
  /// The mirrors of all tables. Entities are mounted in `directory`; both must outlive this.
  Mirrors(Mav::Directory& directory, MountObserver& observer);
  /// Mirrors of the caller's choice, over `state`. One that asks the links comes behind their
  /// mirror.
  Mirrors(MountObserver& observer, DeviceState state, std::vector<std::unique_ptr<Mirror>> mirrors);
  ~Mirrors() override;

  /// Empty until the first changes: state machines are created on empty entities.
  Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir() const { return state_.intfStatusDir; }
  Mav::Ptr<Ip::Config const> ipConfig() const { return state_.ipConfig; }
  Mav::Ptr<Ip::Status const> ipStatus() const { return state_.ipStatus; }
  Mav::Ptr<Ip6::Config const> ip6Config() const { return state_.ip6Config; }
  Mav::Ptr<Ip6::Status const> ip6Status() const { return state_.ip6Status; }
  Mav::Ptr<Arp::NeighborDir const> arpStatus() const { return state_.arpStatus; }

  std::span<Pondo::TableId const> tables() const override { return tables_; }
  void onChanges(Pondo::Snapshot const& snapshot, std::span<Pondo::Change const> changes) override;
  std::optional<std::string> filedKey(Pondo::TableId table, std::string_view from) const override;
  /// Every table has been gone through, so that what is not there is known not to be.
  void onInSync() override { observer_.stateIsKnown(); }

 private:
  Mirrors(Mav::Directory& directory, MountObserver& observer, DeviceState const& state);
  /// Asked by the state machines (Intf::ifIndex).
  std::int32_t ifIndex(Interface::IntfStatus const& status) const override;
  /// Null where no mirror has the table. There are five: they are looked through.
  Mirror* mirror(Pondo::TableId table) const;
  /// Changes no entity and files nothing: what it throws leaves managers what they have.
  void read(Pondo::Snapshot const& snapshot, std::span<Pondo::Change const> changes);
  void apply();

  MountObserver& observer_;
  DeviceState const state_;
  // In the order in which each phase runs.
  std::vector<std::unique_ptr<Mirror>> const mirrors_;
  std::vector<Pondo::TableId> tables_;
};

}  // namespace State
