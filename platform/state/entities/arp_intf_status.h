#pragma once
// The IPv4 neighbours of one interface, by address. Named after the interface. Filled by a mirror,
// read by ArpTableSm and by the rows that refer to it, on the agent's thread.

#include "platform/mav/announced_map.h"
#include "platform/mav/entity.h"
#include "platform/state/entities/arp_entry_status.h"

namespace Arp {

class ArpIntfStatus : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId arpEntryAttributeId = Mav::firstAttributeId;

  class NotifieeConst : public Mav::Notifiee<ArpIntfStatus const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// A neighbour came, went, or changed.
    virtual void onArpEntry(Dovel::IpAddr const& /*addr*/) {}
    /// The collection changed as a whole.
    virtual void onArpEntry() {}
  };

  using ArpEntryMap = Mav::OrderedMap<Dovel::IpAddr, ArpEntryStatus>;
  using ArpEntryIteratorConst = ArpEntryMap::IteratorConst;

  using Entity::Entity;

  /// An empty value when there is no such neighbour.
  ArpEntryStatus arpEntry(Dovel::IpAddr const& addr) const { return arpEntry_.map().get(addr); }
  ArpEntryIteratorConst arpEntryIterator() const { return arpEntry_.map().first(); }
  ArpEntryMap const& arpEntryMap() const { return arpEntry_.map(); }

  /// Files the neighbour under its address, in the place of what was there.
  void arpEntryIs(ArpEntryStatus const& status) { arpEntry_.put(status.addr(), status); }
  /// No effect when there is none.
  void arpEntryDel(Dovel::IpAddr const& addr) { arpEntry_.del(addr); }
  void arpEntryDelAll() { arpEntry_.delAll(); }

  std::string_view typeName() const override { return "Arp::ArpIntfStatus"; }
  Mav::AttributeTable const& attributeTable() const override;

 private:
  Mav::AnnouncedMap<ArpEntryMap, NotifieeConst, arpEntryAttributeId, &NotifieeConst::onArpEntry>
      arpEntry_{*this};
};

}  // namespace Arp
