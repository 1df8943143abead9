#pragma once
// The IPv6 addresses in operation: of links that are up, neither tentative nor failed (RFC 4862).
// Filled by State::Address6Mirror, read by IpAddressTableSm, on the agent's thread.

#include "platform/state/entities/intf_dir.h"
#include "platform/state/entities/ip6_intf_addresses.h"

namespace Ip6 {

/// Those of one link. All go at once where the link falls, and come back when it is up.
class IntfStatus : public State::Ip6IntfAddresses<IntfStatus> {
 public:
  using Ip6IntfAddresses::Ip6IntfAddresses;
};

/// A link without an address in operation is not in it, though Ip6::Config has it.
class Status : public State::IntfDir<Status, IntfStatus> {
 public:
  class NotifieeConst : public Mav::Notifiee<Status const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// An interface came or went. Its addresses are its own to tell.
    virtual void onIntf(Dovel::IntfId const& /*intfId*/) {}
  };
  static constexpr auto onIntfOf = &NotifieeConst::onIntf;

  explicit Status(Mav::Name name = "status") : IntfDir(std::move(name)) {}
};

}  // namespace Ip6
