#pragma once
// What Ip::IpIntfConfig and Ip::IpIntfStatus have in common: an interface and its one IPv4 address,
// which each calls by a name of its own. Intf is the class itself (CRTP): it names its
// NotifieeConst, and the handler that hears of the address.
//
// Filled by the mirrors, read by the state machines, on the agent's thread.

#include "platform/dovel/addr_with_mask.h"
#include "platform/dovel/intf_id.h"
#include "platform/mav/entity.h"

namespace State {

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
