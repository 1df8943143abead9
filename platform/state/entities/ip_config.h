#pragma once
// The IPv4 addresses as configured: one Ip::IpIntfConfig an interface, in the order of the names.
// A further address of a link is an interface of its own here ("eth0#2"). Filled by the mirrors,
// read by the state machines, on the agent's thread.

#include "platform/dovel/intf_id.h"
#include "platform/dovel/ip_addr_with_mask.h"
#include "platform/mav/announced_map.h"
#include "platform/mav/entity.h"

namespace Ip {

class IpIntfConfig : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId intfIdAttributeId = Mav::firstAttributeId;
  static constexpr Mav::AttributeId addrWithMaskAttributeId = Mav::firstAttributeId + 1;

  class NotifieeConst : public Mav::Notifiee<IpIntfConfig const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    virtual void onAddrWithMask() {}
  };

  explicit IpIntfConfig(Dovel::IntfId const& intfId)
      : Entity(intfId.stringValue()), intfId_(intfId) {}

  Dovel::IntfId const& intfId() const { return intfId_; }

  /// 0.0.0.0/0 while the interface has none.
  Dovel::IpAddrWithMask const& addrWithMask() const { return addrWithMask_; }
  /// Announces a change; the same value again does nothing.
  void addrWithMaskIs(Dovel::IpAddrWithMask const& addrWithMask);

  std::string_view typeName() const override { return "Ip::IpIntfConfig"; }
  Mav::AttributeTable const& attributeTable() const override;
  void addNotifiee(NotifieeConst* notifiee) const { notifiees_.add(notifiee); }
  void removeNotifiee(NotifieeConst* notifiee) const { notifiees_.remove(notifiee); }

 private:
  Dovel::IntfId const intfId_;
  Dovel::IpAddrWithMask addrWithMask_;
  mutable Mav::NotifieeList<NotifieeConst> notifiees_;
};

class Config : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId ipIntfConfigAttributeId = Mav::firstAttributeId;

  class NotifieeConst : public Mav::Notifiee<Config const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// An interface came or went. Its address is the IpIntfConfig's own to tell.
    virtual void onIpIntfConfig(Dovel::IntfId const& /*intfId*/) {}
    /// The collection changed as a whole.
    virtual void onIpIntfConfig() {}
  };

  using IpIntfConfigMap = Mav::OrderedMap<Dovel::IntfId, Mav::Ptr<IpIntfConfig>>;
  using IpIntfConfigIteratorConst = IpIntfConfigMap::IteratorConst;

  explicit Config(Mav::Name name = "config") : Entity(std::move(name)) {}

  /// Null when there is no such interface.
  Mav::Ptr<IpIntfConfig const> ipIntfConfig(Dovel::IntfId const& intfId) const {
    return ipIntfConfig_.map().get(intfId);
  }
  IpIntfConfigIteratorConst ipIntfConfigIterator() const { return ipIntfConfig_.map().first(); }
  std::size_t ipIntfConfigCount() const { return ipIntfConfig_.map().size(); }

  /// The interface's entity, created without an address when there is none.
  Mav::Ptr<IpIntfConfig> ipIntfConfigIs(Dovel::IntfId const& intfId);
  /// No effect when there is none.
  void ipIntfConfigDel(Dovel::IntfId const& intfId) { ipIntfConfig_.del(intfId); }
  void ipIntfConfigDelAll() { ipIntfConfig_.delAll(); }

  std::string_view typeName() const override { return "Ip::Config"; }
  Mav::AttributeTable const& attributeTable() const override;
  void addNotifiee(NotifieeConst* notifiee) const { notifiees_.add(notifiee); }
  void removeNotifiee(NotifieeConst* notifiee) const { notifiees_.remove(notifiee); }

 private:
  mutable Mav::NotifieeList<NotifieeConst> notifiees_;
  Mav::AnnouncedMap<IpIntfConfigMap, NotifieeConst, ipIntfConfigAttributeId,
                    &NotifieeConst::onIpIntfConfig, &NotifieeConst::onIpIntfConfig>
      ipIntfConfig_{notifiees_};
};

}  // namespace Ip
