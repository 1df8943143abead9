#include "agent/arp_table_sm.h"

#include "agent/arp_reactors.h"
#include "agent/trace.h"
#include "platform/blipmark/blipmark.h"

namespace IpSnmp {

ArpTableSm::ArpTableSm(Mav::Ptr<Mav::ActivityConfig> activityConfig,
                       Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir,
                       Mav::Ptr<IpMib> ipMib, Mav::Ptr<Arp::NeighborDir const> status)
    : activityConfig_(std::move(activityConfig)), ipMib_(std::move(ipMib)) {
  // Before the neighbours: their reactors ask for interface statuses as soon as they are made.
  inputIs(*this, mavIntfStatusDir_, std::move(intfStatusDir));
  if (ipMib_) mavIpMib_ = std::make_unique<MavIpMib>(ipMib_);
  inputIs(*this, mavStatus_, std::move(status));
  // An entity announces changes alone: what it holds already is taken over here.
  if (mavStatus_) mavStatus_->onArpIntfStatus();
}

// The reactors first: a caller may hold one for longer, and its back pointer must not outlive this.
ArpTableSm::~ArpTableSm() { statusDel(); }

Mav::Ptr<Interface::AllIntfStatusDir const> ArpTableSm::intfStatusDir() const {
  return notifierOf(mavIntfStatusDir_);
}
Mav::Ptr<Arp::NeighborDir const> ArpTableSm::status() const { return notifierOf(mavStatus_); }

void ArpTableSm::intfStatusDirDel() { mavIntfStatusDir_.reset(); }

void ArpTableSm::ipMibDel() {
  mavIpMib_.reset();
  ipMib_.reset();
}

void ArpTableSm::statusDel() {
  // Nothing is heard any more when the reactors go, so that none is made again.
  mavStatus_.reset();
  arpIntfStatusDelAll();
}

Mav::Ptr<Interface::IntfStatus const> ArpTableSm::intfStatus(Dovel::IntfId const& intf) const {
  return mavIntfStatusDir_ ? mavIntfStatusDir_->notifier()->intfStatus(intf) : nullptr;
}

Mav::Ptr<ArpTableSm::MavArpIntfStatus> ArpTableSm::arpIntfStatus(Mav::Name const& name) const {
  return arpIntfStatus_.get(name);
}
void ArpTableSm::arpIntfStatusIs(Mav::Ptr<Arp::ArpIntfStatus const> const& entity) {
  arpIntfStatus_.is(*this, entity);
}
void ArpTableSm::arpIntfStatusDel(Mav::Name const& name) { arpIntfStatus_.del(name); }
void ArpTableSm::arpIntfStatusDelAll() { arpIntfStatus_.delAll(); }

void ArpTableSm::handleIntfStatus(Dovel::IntfId intf) {
  constexpr auto signature = "void IpSnmp::ArpTableSm::handleIntfStatus(Dovel::IntfId)";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8, signature << " for " << intf);
  // The further IntfIds of a link's addresses have no ARP status; one may print as another link's
  // name.
  if (intf.number() != 0) return;
  if (auto const reactor = arpIntfStatus(intf.stringValue())) {
    reactor->intfStatusIs(intfStatus(intf));
  }
}

void ArpTableSm::handleIntfStatus() {
  Blipmark::Timer const blip("void IpSnmp::ArpTableSm::handleIntfStatus()");
  auto const dir = intfStatusDir();
  if (!dir) return;
  // Those that have gone are not told: their reactors keep the status that they hold.
  for (auto i = dir->intfStatusIterator(); i; ++i) handleIntfStatus(i.key());
}

}  // namespace IpSnmp
