#pragma once

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

}  // namespace State
