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
  void handleAddr() final {
    static auto const signature = this->signature("::handleAddr()");
    Blipmark::Timer const blip(signature.c_str());
    auto const& intf = this->intfId();
    MAV_TRACE(agentTraceHandle(), 8, signature << " for " << intf);
    // What comes meanwhile is handed over with the status.
    if (!this->intfStatus()) {
      MAV_TRACE(agentTraceHandle(), 8, "no intfStatus");
      return;
    }
    auto* const sm = this->ipAddressTableSm();
    // Also where it is the same address: with another interface status it may have another ifIndex.
    if (!oldAddress_.address().isUnspecified()) sm->doDelAddr(intf, source, oldAddress_);
    // 0.0.0.0 is passed over by the state machine: an interface may have no address.
    auto const current = this->notifier()->address();
    sm->doAddAddr(intf, source, Intf::ifIndex(*this->intfStatus()), current);
    oldAddress_ = current;
  }
  /// Withdraws what was handed over last; nothing without an interface status.
  void handleDel() final {
    static auto const signature = this->signature("::handleDel()");
    Blipmark::Timer const blip(signature.c_str());
    // Meant so: without a status nothing is withdrawn. Whoever fills the entities withdraws
    // addresses before their interface.
    if (!this->intfStatus()) return;
    this->ipAddressTableSm()->doDelAddr(this->intfId(), source, oldAddress_);
  }

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
