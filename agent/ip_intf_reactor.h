#pragma once
// The reactors of one interface's IPv4 address: MavIpIntfConfig and MavIpIntfStatus. On every
// change, and when the interface's status comes, the address handed over last is withdrawn and the
// current one handed over. IpAddressTableSm makes and owns them (reactor_set.h). On the agent's
// thread.

#include "agent/intf_reactor.h"

namespace IpSnmp {

template <class React, class Entity, AddressSource source>
class IpIntfReactor : public IntfReactor<React, Entity, source> {
 public:
  IpIntfReactor(IpAddressTableSm& sm, Mav::Ptr<Entity const> const& entity)
      : IntfReactor<React, Entity, source>(sm, entity) {
    this->synchronize();
  }

  /// Withdraws, then hands over; no effect without an interface status.
  void handleAddr() final;
  /// Withdraws what was handed over last; nothing without an interface status.
  void handleDel() final;

 protected:
  /// What was handed over last.
  Dovel::IpAddrWithMask const& oldAddress() const { return oldAddress_; }

 private:
  // 0.0.0.0: none. The entity tells the new address alone.
  Dovel::IpAddrWithMask oldAddress_;
};

/// As configured: served as inaccessible(4) while the other side does not have it.
class IpAddressTableSm::MavIpIntfConfig final
    : public IpIntfReactor<MavIpIntfConfig, Ip::IpIntfConfig, addressSourceConfig> {
 public:
  static constexpr std::string_view name = "MavIpIntfConfig";
  using IpIntfReactor::IpIntfReactor;
  Dovel::IpAddrWithMask const& oldAddrWithMask() const { return oldAddress(); }
  void onAddrWithMask() override { handleAddr(); }
};

/// In operation: its link is up and running. Served as preferred(1).
class IpAddressTableSm::MavIpIntfStatus final
    : public IpIntfReactor<MavIpIntfStatus, Ip::IpIntfStatus, addressSourceStatus> {
 public:
  static constexpr std::string_view name = "MavIpIntfStatus";
  using IpIntfReactor::IpIntfReactor;
  Dovel::IpAddrWithMask const& oldActiveAddrWithMask() const { return oldAddress(); }
  void onActiveAddrWithMask() override { handleAddr(); }
};

}  // namespace IpSnmp
