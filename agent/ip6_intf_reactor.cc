#include "agent/ip6_intf_reactor.h"

#include "agent/trace.h"
#include "platform/blipmark/blipmark.h"
#include "platform/state/entities/intf_details_provider.h"

namespace IpSnmp {

template <class React, class Entity, AddressSource source>
void Ip6IntfReactor<React, Entity, source>::handleAddr() {
  static auto const signature = this->signature("::handleAddr()");
  Blipmark::Timer const blip(signature.c_str());
  MAV_TRACE(agentTraceHandle(), 8, signature << " for " << this->intfId());
  for (auto addr = this->notifier()->addrIterator(); addr; ++addr) handleAddr(addr.key());
}

template <class React, class Entity, AddressSource source>
void Ip6IntfReactor<React, Entity, source>::handleAddr(Dovel::Ip6AddrWithMask const& address) {
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

template <class React, class Entity, AddressSource source>
void Ip6IntfReactor<React, Entity, source>::handleDel() {
  static auto const signature = this->signature("::handleDel()");
  Blipmark::Timer const blip(signature.c_str());
  // Meant so: without a status nothing is withdrawn. Whoever fills the entities withdraws addresses
  // before their interface.
  if (!this->intfStatus()) return;
  for (auto old = oldAddr_.first(); old; ++old) {
    this->ipAddressTableSm()->doDelAddr6(this->intfId(), source, old.key());
  }
}

template class Ip6IntfReactor<IpAddressTableSm::MavIp6IntfConfig, Ip6::IntfConfig,
                              addressSourceConfig>;
template class Ip6IntfReactor<IpAddressTableSm::MavIp6IntfStatus, Ip6::IntfStatus,
                              addressSourceStatus>;

}  // namespace IpSnmp
