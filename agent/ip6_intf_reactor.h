#pragma once
// The reactors of one interface's IPv6 addresses: MavIp6IntfConfig and MavIp6IntfStatus. An address
// that is present is handed over, without being withdrawn first; one that is absent is withdrawn.
// Link-local addresses are passed over. IpAddressTableSm makes and owns them (reactor_set.h). On
// the agent's thread.

#include "agent/intf_reactor.h"

namespace IpSnmp {

template <class React, class Entity, AddressSource source>
class Ip6IntfReactor : public IntfReactor<React, Entity, source> {
 public:
  /// An address as it was handed over.
  struct MavOldAddr {
    Ip6::AddressInfo info;
  };
  using OldAddrMap = Mav::OrderedMap<Dovel::Ip6AddrWithMask, MavOldAddr>;

  Ip6IntfReactor(IpAddressTableSm& sm, Mav::Ptr<Entity const> const& entity)
      : IntfReactor<React, Entity, source>(sm, entity) {
    this->synchronize();
  }

  /// What is filed, so that it can be withdrawn when the entity goes and can no longer be asked.
  OldAddrMap const& oldAddr() const { return oldAddr_; }

  /// Every address that is there. One that has gone is not noticed here: the mirrors announce each.
  void handleAddr() final {
    static auto const signature = this->signature("::handleAddr()");
    Blipmark::Timer const blip(signature.c_str());
    MAV_TRACE(agentTraceHandle(), 8, signature << " for " << this->intfId());
    for (auto addr = this->notifier()->addrIterator(); addr; ++addr) handleAddr(addr.key());
  }
  /// One address, as the entity has it now; no effect without an interface status.
  void handleAddr(Dovel::Ip6AddrWithMask const& address) {
    static auto const signature = this->signature("::handleAddr(const Dovel::Ip6AddrWithMask&)");
    Blipmark::Timer const blip(signature.c_str());
    auto const& intf = this->intfId();
    MAV_TRACE(agentTraceHandle(), 8, signature << " for " << intf << ", " << address);
    // What comes meanwhile is handed over with the status.
    if (!this->intfStatus()) {
      MAV_TRACE(agentTraceHandle(), 8, "no intfStatus");
      return;
    }
    // The table's key has no zone: the link-local addresses of two links would be one row.
    if (address.address().isLinkLocal()) {
      MAV_TRACE(agentTraceHandle(), 1, "Ignoring link-local address " << address);
      return;
    }
    auto* const sm = this->ipAddressTableSm();
    auto const info = this->notifier()->addr(address);
    // The empty value: there is no such address (any more).
    if (!info) {
      sm->doDelAddr6(intf, source, address);
      oldAddr_.erase(address);
      return;
    }
    sm->doAddAddr6(intf, source, Intf::ifIndex(*this->intfStatus()), address);
    // Behind the filing: what could not be filed is not withdrawn later either.
    oldAddr_.put(address, {info});
  }
  /// Withdraws what was handed over; nothing without an interface status.
  void handleDel() final {
    static auto const signature = this->signature("::handleDel()");
    Blipmark::Timer const blip(signature.c_str());
    // Meant so: without a status nothing is withdrawn. Whoever fills the entities withdraws
    // addresses before their interface.
    if (!this->intfStatus()) return;
    for (auto old = oldAddr_.first(); old; ++old) {
      this->ipAddressTableSm()->doDelAddr6(this->intfId(), source, old.key());
    }
  }

  void onAddr(Dovel::Ip6AddrWithMask const& address) final { handleAddr(address); }

 private:
  OldAddrMap oldAddr_;
};

/// As configured: what the kernel has, tentative and duplicate ones among it.
class IpAddressTableSm::MavIp6IntfConfig final
    : public Ip6IntfReactor<MavIp6IntfConfig, Ip6::IntfConfig, addressSourceConfig> {
 public:
  static constexpr std::string_view name = "MavIp6IntfConfig";
  using Ip6IntfReactor::Ip6IntfReactor;
};

/// In operation: what is served as preferred(1).
class IpAddressTableSm::MavIp6IntfStatus final
    : public Ip6IntfReactor<MavIp6IntfStatus, Ip6::IntfStatus, addressSourceStatus> {
 public:
  static constexpr std::string_view name = "MavIp6IntfStatus";
  using Ip6IntfReactor::Ip6IntfReactor;
};

}  // namespace IpSnmp
