#pragma once
// Keeps ipNetToPhysicalTable of IpMib in step with the shared table of neighbours: a row a record,
// whatever is known of its interface. The table is in the order of the rows, and tells what
// changed: nothing is kept here.
//
// A listener of the follower, which it must outlive. All on the agent's thread.
//
// The table in shared memory has a record for each neighbour of both versions that is to be served;
// ipNetToMediaTable is filed from another one, by ArpTableSm. An interface's ifIndex is in the key,
// so that a neighbour need not wait for its interface.

#include "model/ip_mib.h"
#include "platform/pondo/follower/follower.h"

namespace IpSnmp {

class IpNetToPhysicalTableSm : public Pondo::Listener {
 public:
  explicit IpNetToPhysicalTableSm(Mav::Ptr<IpMib> ipMib) : ipMib_(std::move(ipMib)) {}

  std::span<Pondo::TableId const> tables() const override;
  /// Reads each key again, and files the row that it has now, or removes it. Twice comes to the
  /// same as once. A record that is malformed counts as none.
  void onChanges(Pondo::Snapshot const& snapshot, std::span<Pondo::Change const> changes) override;
  /// By the rows themselves, so that a comparison finds those whose record went unnoticed.
  std::optional<std::string> filedKey(Pondo::TableId table, std::string_view from) const override;
  void onInSync() override {}

 private:
  Mav::Ptr<IpMib> const ipMib_;
};

}  // namespace IpSnmp
