#pragma once
// The IPv4 addresses in operation: those of Ip::Config whose link is up. One Ip::IpIntfStatus an
// interface, in the order of the names. Filled by the mirrors, read by the state machines, on the
// agent's thread.

#include "platform/dovel/intf_id.h"
#include "platform/dovel/ip_addr_with_mask.h"
#include "platform/mav/announced_map.h"
#include "platform/mav/entity.h"

namespace Ip {

class IpIntfStatus : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId intfIdAttributeId = Mav::firstAttributeId;
  static constexpr Mav::AttributeId activeAddrWithMaskAttributeId = Mav::firstAttributeId + 1;

  class NotifieeConst : public Mav::Notifiee<IpIntfStatus const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    virtual void onActiveAddrWithMask() {}
  };

  explicit IpIntfStatus(Dovel::IntfId const& intfId)
      : Entity(intfId.stringValue()), intfId_(intfId) {}

  Dovel::IntfId const& intfId() const { return intfId_; }

  /// 0.0.0.0/0 while the interface has none in operation.
  Dovel::IpAddrWithMask const& activeAddrWithMask() const { return activeAddrWithMask_; }
  /// Announces a change; the same value again does nothing.
  void activeAddrWithMaskIs(Dovel::IpAddrWithMask const& activeAddrWithMask);

  std::string_view typeName() const override { return "Ip::IpIntfStatus"; }
  Mav::AttributeTable const& attributeTable() const override;
  void addNotifiee(NotifieeConst* notifiee) const { notifiees_.add(notifiee); }
  void removeNotifiee(NotifieeConst* notifiee) const { notifiees_.remove(notifiee); }

 private:
  Dovel::IntfId const intfId_;
  Dovel::IpAddrWithMask activeAddrWithMask_;
  mutable Mav::NotifieeList<NotifieeConst> notifiees_;
};

class Status : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId ipIntfStatusAttributeId = Mav::firstAttributeId;

  class NotifieeConst : public Mav::Notifiee<Status const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// An interface came or went. Its address is the IpIntfStatus's own to tell.
    virtual void onIpIntfStatus(Dovel::IntfId const& /*intfId*/) {}
    /// The collection changed as a whole.
    virtual void onIpIntfStatus() {}
  };

  using IpIntfStatusMap = Mav::OrderedMap<Dovel::IntfId, Mav::Ptr<IpIntfStatus>>;
  using IpIntfStatusIteratorConst = IpIntfStatusMap::IteratorConst;

  explicit Status(Mav::Name name = "status") : Entity(std::move(name)) {}

  /// Null when there is no such interface.
  Mav::Ptr<IpIntfStatus const> ipIntfStatus(Dovel::IntfId const& intfId) const {
    return ipIntfStatus_.map().get(intfId);
  }
  IpIntfStatusIteratorConst ipIntfStatusIterator() const { return ipIntfStatus_.map().first(); }
  std::size_t ipIntfStatusCount() const { return ipIntfStatus_.map().size(); }

  /// The interface's entity, created without an address when there is none.
  Mav::Ptr<IpIntfStatus> ipIntfStatusIs(Dovel::IntfId const& intfId);
  /// No effect when there is none.
  void ipIntfStatusDel(Dovel::IntfId const& intfId) { ipIntfStatus_.del(intfId); }
  void ipIntfStatusDelAll() { ipIntfStatus_.delAll(); }

  std::string_view typeName() const override { return "Ip::Status"; }
  Mav::AttributeTable const& attributeTable() const override;
  void addNotifiee(NotifieeConst* notifiee) const { notifiees_.add(notifiee); }
  void removeNotifiee(NotifieeConst* notifiee) const { notifiees_.remove(notifiee); }

 private:
  mutable Mav::NotifieeList<NotifieeConst> notifiees_;
  Mav::AnnouncedMap<IpIntfStatusMap, NotifieeConst, ipIntfStatusAttributeId,
                    &NotifieeConst::onIpIntfStatus, &NotifieeConst::onIpIntfStatus>
      ipIntfStatus_{notifiees_};
};

}  // namespace Ip
