#pragma once
// One row of the old ipAddrTable: an IPv4 address, as its row of ipAddressTable has it. All is read
// from that row, which must have an interface (ip_address_entry.h). One thread.
//
// It keeps its row of ipAddressTable alive, which is why the state machine deletes both in one go:
// a row here whose address has gone would answer genErr.

#include "model/ip_address_entry.h"

namespace IpSnmp {

class IpAddrEntry : public Mav::Counted<IpAddrEntry> {
 public:
  /// RangeException "null ValidPtr" without a master entry.
  explicit IpAddrEntry(Mav::Ptr<IpAddressEntry const> masterEntry)
      : masterEntry_(Mav::validPtr(std::move(masterEntry))) {}

  Dovel::IpAddr key() const { return ipAdEntAddr(); }
  /// Never null.
  Mav::Ptr<IpAddressEntry const> const& masterEntry() const { return masterEntry_; }

  // Read anew for each column: when another interface becomes the address's first, the next request
  // sees it, and nobody has to tell this row.
  Dovel::IpAddr ipAdEntAddr() const { return masterEntry_->ipAdEntAddr(); }
  /// Of the first presence; RangeException "null ValidPtr" without one.
  std::uint32_t ipAdEntIfIndex() const { return masterEntry_->ifIndex(); }
  /// RangeException "null ValidPtr" when the address has no prefix.
  Dovel::IpAddr ipAdEntNetMask() const {
    return Dovel::IpAddr::netmask(Mav::validPtr(masterEntry_->prefixEntry())->key().length());
  }

 private:
  Mav::Ptr<IpAddressEntry const> const masterEntry_;
};

}  // namespace IpSnmp
