#pragma once
// The IPv4 addresses as configured: one Ip::IpIntfConfig an interface. A further address of a link
// is an interface of its own here ("eth0#2"). An interface is created without its address, and
// hears of it next. Filled by State::Address4Mirror, read by IpAddressTableSm, on the agent's
// thread.

#include "platform/state/entities/intf_dir.h"
#include "platform/state/entities/ip_intf_address.h"

namespace Ip {

/// It is there as long as the address is on the link, whether that is up or down.
class IpIntfConfig : public State::IpIntfAddress<IpIntfConfig> {
 public:
  class NotifieeConst : public Mav::Notifiee<IpIntfConfig const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// It has come or changed. An address that goes takes the interface with it; 0.0.0.0/0 stands
    /// between one and the same again (Address4Mirror).
    virtual void onAddrWithMask() {}
  };
  static constexpr auto onAddress = &NotifieeConst::onAddrWithMask;

  using IpIntfAddress::IpIntfAddress;

  Dovel::IpAddrWithMask const& addrWithMask() const { return address(); }
};

/// In the order of the IntfIds: all of a link stand together, its own first.
class Config : public State::IntfDir<Config, IpIntfConfig> {
 public:
  class NotifieeConst : public Mav::Notifiee<Config const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// An interface came or went. Its address is the IpIntfConfig's own to tell.
    virtual void onIpIntfConfig(Dovel::IntfId const& /*intfId*/) {}
  };
  static constexpr auto onIntfOf = &NotifieeConst::onIpIntfConfig;

  explicit Config(Mav::Name name = "config") : IntfDir(std::move(name)) {}
};

}  // namespace Ip
