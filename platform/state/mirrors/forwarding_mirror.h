#pragma once
// Keeps Routing::Config and Routing6::Config as the forwarding table says: mounted while their
// record is there, absent otherwise. No entity ever shows a value that was not published. It says
// beforehand when a slice changes what is mounted: registrations that point there are undone first.
// On the agent's thread.

#include "platform/mav/directory.h"
#include "platform/pondo/tables/tables.h"
#include "platform/state/mirrors/table_mirror.h"

namespace State {

class ForwardingMirror : public TableMirror<Pondo::ForwardingTable> {
 public:
  /// `directory` must outlive the mirror.
  explicit ForwardingMirror(Mav::Directory& directory) : directory_(directory) {}
  /// Unmounts what it mounted.
  ~ForwardingMirror() override;

  /// Only where a record came or went: another value is told to the entity that is mounted.
  bool changesMounts() const override;
  void apply(Phase phase) override;

 private:
  Mav::Directory& directory_;
};

}  // namespace State
