#pragma once
// The machine's IPv4 neighbours: a collection of Arp::ArpIntfStatus by the name of the interface,
// each of which has the neighbours of one interface by their addresses. Filled by
// State::Neighbour4Mirror, read by ArpTableSm and by the rows that refer to it, on the agent's
// thread.

#include "platform/mav/announced_map.h"
#include "platform/mav/entity.h"
#include "platform/state/entities/arp_entry_status.h"

namespace Arp {

/// Named after the interface. It belongs to one ifIndex: where the interface gets another, it goes,
/// and a new one comes.
class ArpIntfStatus : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId arpEntryAttributeId = Mav::firstAttributeId;

  class NotifieeConst : public Mav::Notifiee<ArpIntfStatus const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// A neighbour came, went, or changed.
    virtual void onArpEntry(Dovel::IpAddr const& /*addr*/) {}
    /// The collection changed as a whole. No setter announces that; whoever takes over what is
    /// there calls its own.
    virtual void onArpEntry() {}
  };

  using ArpEntryMap = Mav::OrderedMap<Dovel::IpAddr, ArpEntryStatus>;
  using ArpEntryIteratorConst = ArpEntryMap::IteratorConst;

  using Entity::Entity;

  /// An empty value when there is no such neighbour.
  ArpEntryStatus arpEntry(Dovel::IpAddr const& addr) const { return arpEntry_.map().get(addr); }
  ArpEntryIteratorConst arpEntryIterator() const { return arpEntry_.map().first(); }

  /// Files the neighbour under its address, in the place of what was there. The same value again
  /// announces nothing.
  void arpEntryIs(ArpEntryStatus const& status) { arpEntry_.put(status.addr(), status); }
  /// No effect when there is none.
  void arpEntryDel(Dovel::IpAddr const& addr) { arpEntry_.del(addr); }

 private:
  Mav::AnnouncedMap<ArpEntryMap, NotifieeConst, arpEntryAttributeId, &NotifieeConst::onArpEntry>
      arpEntry_{*this};
};

/// In the order of the names.
class NeighborDir : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId arpIntfStatusAttributeId = Mav::firstAttributeId;

  class NotifieeConst : public Mav::Notifiee<NeighborDir const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// An interface's status came or went. What changes within one is its own to tell.
    virtual void onArpIntfStatus(Mav::Name const& /*name*/) {}
    /// The collection changed as a whole. No setter announces that, either.
    virtual void onArpIntfStatus() {}
  };

  using ArpIntfStatusMap = Mav::OrderedMap<Mav::Name, Mav::Ptr<ArpIntfStatus>>;
  using ArpIntfStatusIteratorConst = ArpIntfStatusMap::IteratorConst;

  explicit NeighborDir(Mav::Name name = "neighbor") : Entity(std::move(name)) {}

  /// Null when there is none of that name.
  Mav::Ptr<ArpIntfStatus const> arpIntfStatus(Mav::Name const& name) const {
    return arpIntfStatus_.map().get(name);
  }
  Mav::Ptr<ArpIntfStatus> arpIntfStatus(Mav::Name const& name) {
    return arpIntfStatus_.map().get(name);
  }
  ArpIntfStatusIteratorConst arpIntfStatusIterator() const { return arpIntfStatus_.map().first(); }

  /// The one that exists, or a new one without neighbours. Announced while it is empty.
  Mav::Ptr<ArpIntfStatus> arpIntfStatusIs(Mav::Name const& name) {
    return arpIntfStatus_.is(name, [&] { return Mav::makeObject<ArpIntfStatus>(name); });
  }
  /// No effect when there is none. Its neighbours need not have gone before: who hears of it
  /// withdraws them all.
  void arpIntfStatusDel(Mav::Name const& name) { arpIntfStatus_.del(name); }
  void arpIntfStatusDelAll() { arpIntfStatus_.delAll(); }

 private:
  Mav::AnnouncedMap<ArpIntfStatusMap, NotifieeConst, arpIntfStatusAttributeId,
                    &NotifieeConst::onArpIntfStatus>
      arpIntfStatus_{*this};
};

}  // namespace Arp
