#include "agent/arp_reactors.h"

#include "agent/trace.h"
#include "platform/blipmark/blipmark.h"
#include "platform/state/entities/intf_details_provider.h"

namespace IpSnmp {

void ArpTableSm::MavStatus::onArpIntfStatus(Mav::Name const& name) {
  Blipmark::Timer const blip("void IpSnmp::ArpTableSm::MavStatus::onArpIntfStatus(Mav::Name)");
  // What was announced is not looked at: the directory as it is now decides.
  if (auto const entity = notifier()->arpIntfStatus(name)) {
    sm_.arpIntfStatusIs(entity);
  } else {
    sm_.arpIntfStatusDel(name);
  }
}

void ArpTableSm::MavStatus::onArpIntfStatus() {
  Blipmark::Timer const blip("void IpSnmp::ArpTableSm::MavStatus::onArpIntfStatus()");
  for (auto i = notifier()->arpIntfStatusIterator(); i; ++i) sm_.arpIntfStatusIs(i.value());
  sm_.arpIntfStatus_.delUnless(
      [this](Mav::Name const& name) { return bool(notifier()->arpIntfStatus(name)); });
}

ArpTableSm::MavArpIntfStatus::MavArpIntfStatus(ArpTableSm& sm,
                                               Mav::Ptr<Arp::ArpIntfStatus const> const& entity)
    : Reactor(sm, entity) {
  // The first of these finds no ifIndex yet. The second takes over the interface's status, where
  // there is one, and files; the third files the same once more.
  handleArpEntry();
  handleNew();
  handleIntfStatus();
}

void ArpTableSm::MavArpIntfStatus::handleArpEntry(Dovel::IpAddr address) {
  constexpr auto signature =
      "void IpSnmp::ArpTableSm::MavArpIntfStatus::handleArpEntry(Dovel::IpAddr)";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8, signature << " for " << address);
  if (ifIndex_ < 0) {
    MAV_TRACE(agentTraceHandle(), 8, "no ifIndex (yet?)");
    return;
  }
  auto const ipMib = Mav::validPtr(arpTableSm()->ipMib());
  ArpTableIndex const key(static_cast<std::uint32_t>(ifIndex_), address);
  // The empty status says that there is no such neighbour. A neighbour that only changes has its
  // row already: the row reads it when it is asked.
  if (notifier()->arpEntry(address) != Arp::ArpEntryStatus()) {
    ipMib->arpTableIs(key, notifier());
  } else {
    ipMib->arpTableDel(key);
  }
}

void ArpTableSm::MavArpIntfStatus::handleArpEntry() {
  Blipmark::Timer const blip("void IpSnmp::ArpTableSm::MavArpIntfStatus::handleArpEntry()");
  // Those that are there: one that has gone was announced by itself.
  for (auto i = notifier()->arpEntryIterator(); i; ++i) handleArpEntry(i.key());
}

void ArpTableSm::MavArpIntfStatus::handleIntfStatus() {
  Blipmark::Timer const blip("void IpSnmp::ArpTableSm::MavArpIntfStatus::handleIntfStatus()");
  // Without a status the rows stay under the ifIndex that they have: they go with the neighbours,
  // which the mirror withdraws before their interface.
  if (!intfStatus()) return;
  ifIndexIs(Intf::ifIndex(*intfStatus()));
  handleArpEntry();
}

void ArpTableSm::MavArpIntfStatus::handleNew() {
  constexpr auto signature = "void IpSnmp::ArpTableSm::MavArpIntfStatus::handleNew()";
  Blipmark::Timer const blip(signature);
  auto const& name = notifier()->name();
  MAV_TRACE(agentTraceHandle(), 8, signature << " for " << name);
  // An ARP status has the name of its link, which is the IntfId of the link's first address too.
  intfStatusIs(arpTableSm()->intfStatus(Dovel::IntfId(name)));
}

void ArpTableSm::MavArpIntfStatus::handleDel() {
  constexpr auto signature = "void IpSnmp::ArpTableSm::MavArpIntfStatus::handleDel()";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8, signature);
  // It has never had an ifIndex, and so has filed nothing.
  if (ifIndex_ < 0) {
    MAV_TRACE(agentTraceHandle(), 8,
              "no ifIndex (hope there were no entries that I should have deleted)");
    return;
  }
  auto const ipMib = Mav::validPtr(arpTableSm()->ipMib());
  auto const ifIndex = static_cast<std::uint32_t>(ifIndex_);
  auto row = std::as_const(*ipMib).arpTableMap().atOrAfter(ArpTableIndex(ifIndex, {}));
  // Whoever filed them: one ARP status at most stands for an ifIndex (neighbour4_mirror.h). The
  // iterator outlives the row that is erased under it.
  for (; row && row.key().ifIndex() == ifIndex; ++row) ipMib->arpTableDel(row.key());
}

}  // namespace IpSnmp
