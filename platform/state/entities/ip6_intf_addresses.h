#pragma once
// What Ip6::Config and Ip6::Status have in common, and their entities of one interface likewise:
// a collection `intf` of interfaces, each with a collection `addr` of addresses. Intf and Dir are
// the classes themselves (CRTP), so that what is configured and what is in operation stay distinct
// types with notifiee interfaces of their own.
//
// Filled by the mirrors, read by the state machines, on the agent's thread.

#include "platform/dovel/intf_id.h"
#include "platform/mav/announced_map.h"
#include "platform/mav/entity.h"
#include "platform/state/entities/ip6_address_info.h"

namespace State {

/// The IPv6 addresses of one interface, in the order of address, then prefix length.
template <class Intf>
class Ip6IntfAddresses : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId intfIdAttributeId = Mav::firstAttributeId;
  static constexpr Mav::AttributeId addrAttributeId = Mav::firstAttributeId + 1;

  class NotifieeConst : public Mav::Notifiee<Intf const, NotifieeConst> {
   public:
    using Mav::Notifiee<Intf const, NotifieeConst>::Notifiee;
    /// An address came, went or changed.
    virtual void onAddr(Dovel::Ip6AddrWithMask const& /*addr*/) {}
    /// The collection changed as a whole.
    virtual void onAddr() {}
  };

  using AddrMap = Mav::OrderedMap<Dovel::Ip6AddrWithMask, Ip6::AddressInfo>;
  using AddrIteratorConst = typename AddrMap::IteratorConst;

  explicit Ip6IntfAddresses(Dovel::IntfId const& intfId)
      : Entity(intfId.stringValue()), intfId_(intfId) {}

  Dovel::IntfId const& intfId() const { return intfId_; }

  /// The empty value when the interface has no such address.
  Ip6::AddressInfo addr(Dovel::Ip6AddrWithMask const& addr) const { return addr_.map().get(addr); }
  AddrIteratorConst addrIterator() const { return addr_.map().first(); }
  std::size_t addrCount() const { return addr_.map().size(); }

  /// Files the address under its addr(); the same again does nothing.
  void addrIs(Ip6::AddressInfo const& info) { addr_.put(info.addr(), info); }
  /// No effect when there is none.
  void addrDel(Dovel::Ip6AddrWithMask const& addr) { addr_.del(addr); }
  void addrDelAll() { addr_.delAll(); }

  Mav::AttributeTable const& attributeTable() const override {
    static Mav::AttributeTable const table{
        Mav::plainAttribute<&Ip6IntfAddresses::intfId>("intfId"),
        Mav::collectionAttribute<nullptr, &Ip6IntfAddresses::addrDel>("addr")};
    return table;
  }

  void addNotifiee(NotifieeConst* notifiee) const { notifiees_.add(notifiee); }
  void removeNotifiee(NotifieeConst* notifiee) const { notifiees_.remove(notifiee); }

 private:
  Dovel::IntfId const intfId_;
  mutable Mav::NotifieeList<NotifieeConst> notifiees_;
  Mav::AnnouncedMap<AddrMap, NotifieeConst, addrAttributeId, &NotifieeConst::onAddr,
                    &NotifieeConst::onAddr>
      addr_{notifiees_};
};

/// The interfaces, in the order of their names. IntfType derives from Ip6IntfAddresses.
template <class Dir, class IntfType>
class Ip6IntfDir : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId intfAttributeId = Mav::firstAttributeId;

  using Intf = IntfType;

  class NotifieeConst : public Mav::Notifiee<Dir const, NotifieeConst> {
   public:
    using Mav::Notifiee<Dir const, NotifieeConst>::Notifiee;
    /// An interface came or went. Its addresses are its own to tell.
    virtual void onIntf(Dovel::IntfId const& /*intfId*/) {}
    /// The collection changed as a whole.
    virtual void onIntf() {}
  };

  using IntfMap = Mav::OrderedMap<Dovel::IntfId, Mav::Ptr<Intf>>;
  using IntfIteratorConst = typename IntfMap::IteratorConst;

  using Mav::Entity::Entity;

  /// Null when there is no such interface.
  Mav::Ptr<Intf const> intf(Dovel::IntfId const& intfId) const { return intf_.map().get(intfId); }
  IntfIteratorConst intfIterator() const { return intf_.map().first(); }
  std::size_t intfCount() const { return intf_.map().size(); }

  /// The interface's entity, created without addresses when there is none.
  Mav::Ptr<Intf> intfIs(Dovel::IntfId const& intfId) {
    return intf_.is(intfId, [&] { return Mav::makeObject<Intf>(intfId); });
  }
  /// No effect when there is none.
  void intfDel(Dovel::IntfId const& intfId) { intf_.del(intfId); }
  void intfDelAll() { intf_.delAll(); }

  Mav::AttributeTable const& attributeTable() const override {
    static Mav::AttributeTable const table{
        Mav::collectionAttribute<&Ip6IntfDir::intfIs, &Ip6IntfDir::intfDel>("intf")};
    return table;
  }

  void addNotifiee(NotifieeConst* notifiee) const { notifiees_.add(notifiee); }
  void removeNotifiee(NotifieeConst* notifiee) const { notifiees_.remove(notifiee); }

 private:
  mutable Mav::NotifieeList<NotifieeConst> notifiees_;
  Mav::AnnouncedMap<IntfMap, NotifieeConst, intfAttributeId, &NotifieeConst::onIntf,
                    &NotifieeConst::onIntf>
      intf_{notifiees_};
};

}  // namespace State
