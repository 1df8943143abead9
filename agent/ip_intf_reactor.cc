#include "agent/ip_intf_reactor.h"

#include "agent/trace.h"
#include "platform/blipmark/blipmark.h"
#include "platform/state/entities/intf_details_provider.h"

namespace IpSnmp {

template <class React, class Entity, AddressSource source>
void IpIntfReactor<React, Entity, source>::handleAddr() {
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

template <class React, class Entity, AddressSource source>
void IpIntfReactor<React, Entity, source>::handleDel() {
  static auto const signature = this->signature("::handleDel()");
  Blipmark::Timer const blip(signature.c_str());
  // Meant so: without a status nothing is withdrawn. Whoever fills the entities withdraws addresses
  // before their interface.
  if (!this->intfStatus()) return;
  this->ipAddressTableSm()->doDelAddr(this->intfId(), source, oldAddress_);
}

template class IpIntfReactor<IpAddressTableSm::MavIpIntfConfig, Ip::IpIntfConfig,
                             addressSourceConfig>;
template class IpIntfReactor<IpAddressTableSm::MavIpIntfStatus, Ip::IpIntfStatus,
                             addressSourceStatus>;

}  // namespace IpSnmp
