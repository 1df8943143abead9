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
  void handleAddr() final;
  /// One address, as the entity has it now; no effect without an interface status.
  void handleAddr(Dovel::Ip6AddrWithMask const& address);
  /// Withdraws what was handed over; nothing without an interface status.
  void handleDel() final;

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
