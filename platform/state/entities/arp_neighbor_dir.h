#pragma once
// The machine's IPv4 neighbours: a collection of Arp::ArpIntfStatus by the name of the interface.
// Filled by a mirror, read by ArpTableSm, on the agent's thread.

#include "platform/state/entities/arp_intf_status.h"

namespace Arp {

class NeighborDir : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId arpIntfStatusAttributeId = Mav::firstAttributeId;

  class NotifieeConst : public Mav::Notifiee<NeighborDir const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// An interface's status came or went. What changes within one is its own to tell.
    virtual void onArpIntfStatus(Mav::Name const& /*name*/) {}
    /// The collection changed as a whole.
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
  ArpIntfStatusMap const& arpIntfStatusMap() const { return arpIntfStatus_.map(); }

  /// The one that exists, or a new one without neighbours.
  Mav::Ptr<ArpIntfStatus> arpIntfStatusIs(Mav::Name const& name) {
    return arpIntfStatus_.is(name, [&] { return Mav::makeObject<ArpIntfStatus>(name); });
  }
  /// No effect when there is none.
  void arpIntfStatusDel(Mav::Name const& name) { arpIntfStatus_.del(name); }
  void arpIntfStatusDelAll() { arpIntfStatus_.delAll(); }

  std::string_view typeName() const override { return "Arp::NeighborDir"; }
  Mav::AttributeTable const& attributeTable() const override;

 private:
  Mav::AnnouncedMap<ArpIntfStatusMap, NotifieeConst, arpIntfStatusAttributeId,
                    &NotifieeConst::onArpIntfStatus>
      arpIntfStatus_{*this};
};

}  // namespace Arp
