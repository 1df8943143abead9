#pragma once
// The IPv4 addresses as configured (Ip::Config), and those of them that are in operation because
// their link is up (Ip::Status). A further address of a link is an interface of its own here
// ("eth0#2"). An interface is created without its address, and hears of it next. Filled by
// State::Address4Mirror, read by IpAddressTableSm, on the agent's thread.

#include "platform/dovel/addr_with_mask.h"
#include "platform/state/entities/intf_dir.h"

namespace State {

/// What Ip::IpIntfConfig and Ip::IpIntfStatus have in common: an interface and its one address,
/// which each calls by a name of its own. Intf is the class itself (CRTP): it names its
/// NotifieeConst, and the handler that hears of the address.
template <class Intf>
class IpIntfAddress : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId intfIdAttributeId = Mav::firstAttributeId;
  static constexpr Mav::AttributeId addressAttributeId = Mav::firstAttributeId + 1;

  /// Without an address, which comes next.
  explicit IpIntfAddress(Dovel::IntfId const& intfId)
      : Entity(intfId.stringValue()), intfId_(intfId) {}

  Dovel::IntfId const& intfId() const { return intfId_; }

  /// 0.0.0.0/0 while the interface has none. The kernel gives no interface 0.0.0.0, nor do the
  /// tables (Pondo::Address4Table).
  Dovel::IpAddrWithMask const& address() const { return address_; }
  /// Announces a change; the same value again does nothing.
  void addressIs(Dovel::IpAddrWithMask const& address) {
    this->store(address_, address, addressAttributeId, Intf::onAddress);
  }

 private:
  Dovel::IntfId const intfId_;
  Dovel::IpAddrWithMask address_;
};

}  // namespace State

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
