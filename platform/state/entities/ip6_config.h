#pragma once
// The IPv6 addresses as configured. An interface is there while it has one. Filled by
// State::Address6Mirror, read by IpAddressTableSm, on the agent's thread.

#include "platform/state/entities/intf_dir.h"
#include "platform/state/entities/ip6_intf_addresses.h"

namespace Ip6 {

/// Those of one link, whether that is up or down, tentative or not; in use or not, they are
/// configured.
class IntfConfig : public State::Ip6IntfAddresses<IntfConfig> {
 public:
  using Ip6IntfAddresses::Ip6IntfAddresses;
};

/// In the order of the links' names.
class Config : public State::IntfDir<Config, IntfConfig> {
 public:
  class NotifieeConst : public Mav::Notifiee<Config const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// An interface came or went. Its addresses are its own to tell.
    virtual void onIntf(Dovel::IntfId const& /*intfId*/) {}
  };
  static constexpr auto onIntfOf = &NotifieeConst::onIntf;

  explicit Config(Mav::Name name = "config") : IntfDir(std::move(name)) {}
};

}  // namespace Ip6
