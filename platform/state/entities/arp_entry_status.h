#pragma once
// One IPv4 neighbour of an interface: its address, its link address, and whether it is fixed by
// configuration (permanent). A default value stands for no neighbour and equals none: the kernel
// has neighbours of address 0.0.0.0 (on loopback and point-to-point links) and of link address 0.

#include "platform/dovel/eth_addr.h"
#include "platform/dovel/ip_addr.h"

namespace Arp {

class ArpEntryStatus {
 public:
  ArpEntryStatus() = default;
  /// A neighbour that is there, whatever its addresses.
  ArpEntryStatus(Dovel::IpAddr addr, Dovel::EthAddr ethAddr, bool isStatic)
      : addr_(addr), ethAddr_(ethAddr), isStatic_(isStatic), isPresent_(true) {}

  /// The key under which an ArpIntfStatus has it.
  Dovel::IpAddr const& addr() const { return addr_; }
  Dovel::EthAddr const& ethAddr() const { return ethAddr_; }
  /// NUD_PERMANENT (linux/neighbour.h): by an administrator or by the kernel itself.
  bool isStatic() const { return isStatic_; }

  bool operator==(ArpEntryStatus const&) const = default;

 private:
  Dovel::IpAddr addr_;
  Dovel::EthAddr ethAddr_;
  bool isStatic_ = false;
  bool isPresent_ = false;  // a neighbour of zeros differs from none
};

}  // namespace Arp
