#include "agent/ip_intf_reactor.h"

#include "agent/trace.h"
#include "platform/blipmark/blipmark.h"
#include "platform/state/entities/intf_details_provider.h"

namespace IpSnmp {

template <class Side>
void IpIntfReactor<Side>::handleAddr() {
  Blipmark::Timer const blip(Side::handleAddrSignature);
  auto const& intf = this->intfId();
  MAV_TRACE(agentTraceHandle(), 8, Side::handleAddrSignature << " for " << intf);
  if (!this->intfStatus()) {
    MAV_TRACE(agentTraceHandle(), 8, "no intfStatus");
    return;
  }
  auto* const sm = this->ipAddressTableSm();
  if (!oldAddress_.address().isUnspecified()) sm->doDelAddr(intf, Side::source, oldAddress_);
  auto const current = (this->notifier().get()->*Side::address)();
  sm->doAddAddr(intf, Side::source, Intf::ifIndex(*this->intfStatus()), current);
  oldAddress_ = current;
}

template <class Side>
void IpIntfReactor<Side>::handleDel() {
  Blipmark::Timer const blip(Side::handleDelSignature);
  if (!this->intfStatus()) return;
  this->ipAddressTableSm()->doDelAddr(this->intfId(), Side::source, oldAddress_);
}

template class IpIntfReactor<IpIntfConfigSide>;
template class IpIntfReactor<IpIntfStatusSide>;

}  // namespace IpSnmp
