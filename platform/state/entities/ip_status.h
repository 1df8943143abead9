#pragma once
// The IPv4 addresses in operation: those of Ip::Config whose link is up. Filled by
// State::Address4Mirror, read by IpAddressTableSm, on the agent's thread.

#include "platform/state/entities/intf_dir.h"
#include "platform/state/entities/ip_intf_address.h"

namespace Ip {

/// It is there while its link is up; the IpIntfConfig of the same IntfId stands beside it, and
/// stays.
class IpIntfStatus : public State::IpIntfAddress<IpIntfStatus> {
 public:
  class NotifieeConst : public Mav::Notifiee<IpIntfStatus const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// It has come or changed, as IpIntfConfig's.
    virtual void onActiveAddrWithMask() {}
  };
  static constexpr auto onAddress = &NotifieeConst::onActiveAddrWithMask;

  using IpIntfAddress::IpIntfAddress;

  Dovel::IpAddrWithMask const& activeAddrWithMask() const { return address(); }
};

/// In the order of the IntfIds, as Ip::Config.
class Status : public State::IntfDir<Status, IpIntfStatus> {
 public:
  class NotifieeConst : public Mav::Notifiee<Status const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// An interface came or went. Its address is the IpIntfStatus's own to tell.
    virtual void onIpIntfStatus(Dovel::IntfId const& /*intfId*/) {}
  };
  static constexpr auto onIntfOf = &NotifieeConst::onIpIntfStatus;

  explicit Status(Mav::Name name = "status") : IntfDir(std::move(name)) {}
};

}  // namespace Ip
