#include "agent/ip6_intf_reactor.h"

#include "agent/trace.h"
#include "platform/blipmark/blipmark.h"
#include "platform/state/entities/intf_details_provider.h"

namespace IpSnmp {

template <class Side>
void Ip6IntfReactor<Side>::handleAddr() {
  Blipmark::Timer const blip(Side::handleAllSignature);
  MAV_TRACE(agentTraceHandle(), 8, Side::handleAllSignature << " for " << this->intfId());
  for (auto addr = this->notifier()->addrIterator(); addr; ++addr) handleAddr(addr.key());
}

template <class Side>
void Ip6IntfReactor<Side>::handleAddr(Dovel::Ip6AddrWithMask const& address) {
  Blipmark::Timer const blip(Side::handleAddrSignature);
  auto const& intf = this->intfId();
  MAV_TRACE(agentTraceHandle(), 8, Side::handleAddrSignature << " for " << intf << ", " << address);
  if (!this->intfStatus()) {
    MAV_TRACE(agentTraceHandle(), 8, "no intfStatus");
    return;
  }
  if (address.address().isLinkLocal()) {
    MAV_TRACE(agentTraceHandle(), 1, "Ignoring link-local address " << address);
    return;
  }
  auto* const sm = this->ipAddressTableSm();
  auto const info = this->notifier()->addr(address);
  if (!info) {
    sm->doDelAddr6(intf, Side::source, address);
    oldAddr_.erase(address);
    return;
  }
  sm->doAddAddr6(intf, Side::source, Intf::ifIndex(*this->intfStatus()), address);
  oldAddr_.put(address, {info});
}

template <class Side>
void Ip6IntfReactor<Side>::handleDel() {
  Blipmark::Timer const blip(Side::handleDelSignature);
  if (!this->intfStatus()) return;
  for (auto old = oldAddr_.first(); old; ++old) {
    this->ipAddressTableSm()->doDelAddr6(this->intfId(), Side::source, old.key());
  }
}

template <class Side>
void Ip6IntfReactor<Side>::onAddr() {
  for (auto old = oldAddr_.first(); old; ++old) {
    if (!this->notifier()->addr(old.key())) handleAddr(old.key());
  }
  handleAddr();
}

template class Ip6IntfReactor<Ip6IntfConfigSide>;
template class Ip6IntfReactor<Ip6IntfStatusSide>;

}  // namespace IpSnmp
