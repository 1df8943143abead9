#pragma once
// What Ip6::IntfConfig and Ip6::IntfStatus have in common: an interface and the collection `addr`
// of its IPv6 addresses, in the order of address, then prefix length. Intf is the class itself
// (CRTP), so that what is configured and what is in operation stay distinct types with notifiee
// interfaces of their own.
//
// Filled by the mirrors, read by the state machines, on the agent's thread.

#include "platform/dovel/intf_id.h"
#include "platform/mav/announced_map.h"
#include "platform/mav/entity.h"
#include "platform/state/entities/ip6_address_info.h"

namespace State {

template <class Intf>
class Ip6IntfAddresses : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId intfIdAttributeId = Mav::firstAttributeId;
  static constexpr Mav::AttributeId addrAttributeId = Mav::firstAttributeId + 1;

  class NotifieeConst : public Mav::Notifiee<Intf const, NotifieeConst> {
   public:
    using Mav::Notifiee<Intf const, NotifieeConst>::Notifiee;
    /// An address came, went or changed. What it is now, addr() tells: the empty value where it has
    /// gone.
    virtual void onAddr(Dovel::Ip6AddrWithMask const& /*addr*/) {}
  };

  /// By address and length: an address that gets another length is one that goes and another that
  /// comes.
  using AddrMap = Mav::OrderedMap<Dovel::Ip6AddrWithMask, Ip6::AddressInfo>;
  using AddrIteratorConst = typename AddrMap::IteratorConst;

  explicit Ip6IntfAddresses(Dovel::IntfId const& intfId)
      : Entity(intfId.stringValue()), intfId_(intfId) {}

  Dovel::IntfId const& intfId() const { return intfId_; }

  /// The empty value when the interface has no such address.
  Ip6::AddressInfo addr(Dovel::Ip6AddrWithMask const& addr) const { return addr_.map().get(addr); }
  /// Survives what comes and goes meanwhile (ordered_map.h).
  AddrIteratorConst addrIterator() const { return addr_.map().first(); }
  bool hasAddr() const { return !addr_.map().empty(); }

  /// Files the address under its addr(); the same again does nothing.
  void addrIs(Ip6::AddressInfo const& info) { addr_.put(info.addr(), info); }
  /// No effect when there is none. Whoever takes the last one takes the interface out of its
  /// directory next (Address6Mirror).
  void addrDel(Dovel::Ip6AddrWithMask const& addr) { addr_.del(addr); }

 private:
  Dovel::IntfId const intfId_;
  Mav::AnnouncedMap<AddrMap, NotifieeConst, addrAttributeId, &NotifieeConst::onAddr> addr_{*this};
};

}  // namespace State
