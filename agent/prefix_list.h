#pragma once
// The prefixes of routes that wait for the status of one interface: IpRouteTableSm has a list for
// each interface that it looked for in vain. A set, in effect: prefixes are entered with true.
// Walked in an order that nobody may rely on; it is that of the prefixes, so that a walk which
// enters them elsewhere works sequentially. One thread.
//
// A pass enters a prefix when it finds a via without its interface (IpRouteTableSm::refuse). The
// status that comes empties the list into the backlog, where the route is looked at as it is then.

#include "platform/dovel/intf_id.h"
#include "platform/dovel/prefix.h"
#include "platform/mav/announced_map.h"
#include "platform/mav/entity.h"

namespace IpSnmp {

class PrefixList : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId prefixAttributeId = Mav::firstAttributeId;

  class NotifieeConst : public Mav::Notifiee<PrefixList const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// A prefix came or went, or its bool changed.
    virtual void onPrefix(Dovel::Prefix const& /*prefix*/) {}
  };

  struct MavPrefix {
    Dovel::Prefix prefix;
    bool value = false;
    bool operator==(MavPrefix const&) const = default;
  };
  using PrefixMap = Mav::OrderedMap<Dovel::Prefix, MavPrefix>;
  using PrefixIteratorConst = PrefixMap::IteratorConst;

  /// An empty list. It needs no mount: only the state machine looks for it.
  explicit PrefixList(Dovel::IntfId const& intfId)
      : Entity(intfId.stringValue()), intfId_(intfId) {}

  Dovel::IntfId const& intfId() const { return intfId_; }

  /// False when it is absent. Whether it waits; a set has no other question.
  bool prefix(Dovel::Prefix const& prefix) const { return prefix_.map().get(prefix).value; }
  std::size_t prefixes() const { return prefix_.map().size(); }
  PrefixIteratorConst prefixIterator() const { return prefix_.map().first(); }

  /// A member, not entered yet.
  static MavPrefix newPrefix(Dovel::Prefix const& prefix, bool value) { return {prefix, value}; }
  /// Enters the prefix, or overwrites its bool.
  void prefixIs(Dovel::Prefix const& prefix, bool value) {
    prefix_.put(prefix, newPrefix(prefix, value));
  }
  /// Its bool; false when it was absent.
  bool prefixDel(Dovel::Prefix const& prefix) {
    bool const value = this->prefix(prefix);
    prefix_.del(prefix);
    return value;
  }
  /// Announced one by one where anybody listens; else at once, however many they are.
  void prefixDelAll() {
    // Every route may wait for one interface: while nobody listens, they are not erased one by one,
    // which nobody can tell.
    if (isHeard()) return prefix_.delAll();
    prefix_.map().clear();
  }

 private:
  Dovel::IntfId const intfId_;
  Mav::AnnouncedMap<PrefixMap, NotifieeConst, prefixAttributeId, &NotifieeConst::onPrefix> prefix_{
      *this};
};

}  // namespace IpSnmp
