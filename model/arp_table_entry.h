#pragma once
// One row of ipNetToMediaTable. Nothing of the neighbour is copied: the row refers to the ARP
// status of its interface and looks the neighbour up there when it is read. A neighbour that has
// gone reads as an empty value until the row goes too. One thread.
//
// A row keeps the ARP status of its interface alive, and not the other way round: whoever takes the
// status away deletes the rows (ArpTableSm). Another status for the same key means another row:
// IpMib::arpTableIs() refuses to change one.

#include "model/arp_table_index.h"
#include "platform/mav/object.h"
#include "platform/state/entities/arp_neighbor_dir.h"

namespace IpSnmp {

class ArpTableEntry : public Mav::Counted<ArpTableEntry> {
 public:
  /// `arpIntfStatus` may be null: such a row has a key, and nothing to read.
  ArpTableEntry(ArpTableIndex key, Mav::Ptr<Arp::ArpIntfStatus const> arpIntfStatus)
      : key_(key), arpIntfStatus_(std::move(arpIntfStatus)) {}

  ArpTableIndex const& key() const { return key_; }
  Mav::Ptr<Arp::ArpIntfStatus const> const& arpIntfStatus() const { return arpIntfStatus_; }

  /// The neighbour as it is now: one search among those of the interface, for each column read.
  /// RangeException "null ValidPtr" without an ARP status.
  Arp::ArpEntryStatus arpEntry() const {
    return Mav::validPtr(arpIntfStatus_)->arpEntry(key_.ipAddr());
  }
  /// Of arpEntry(): six zero octets when the neighbour has gone.
  Dovel::EthAddr physAddress() const { return arpEntry().ethAddr(); }

 private:
  ArpTableIndex const key_;
  Mav::Ptr<Arp::ArpIntfStatus const> const arpIntfStatus_;
};

}  // namespace IpSnmp
