#pragma once
// What Ip::Config, Ip::Status, Ip6::Config and Ip6::Status have in common: a collection of entities
// of one interface each, in the order of their IntfIds. Dir is the class itself (CRTP): it names
// its NotifieeConst, and the handler that hears of an interface.
//
// Filled by the mirrors, read by the state machines, on the agent's thread.

#include "platform/dovel/intf_id.h"
#include "platform/mav/entity.h"
#include "platform/mav/ordered_map.h"

namespace State {

template <class Dir, class IntfType>
class IntfDir : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId intfAttributeId = Mav::firstAttributeId;

  using Intf = IntfType;
  using IntfMap = Mav::OrderedMap<Dovel::IntfId, Mav::Ptr<Intf>>;

  using Mav::Entity::Entity;

  /// Null when there is no such interface.
  Mav::Ptr<Intf const> intf(Dovel::IntfId const& intfId) const { return intf_.get(intfId); }
  /// Survives what comes and goes meanwhile (ordered_map.h).
  auto intfIterator() const { return intf_.first(); }

  /// The interface's entity, created without an address when there is none. Announced so, and then
  /// the address by the entity itself: who hears of the interface finds none yet.
  Mav::Ptr<Intf> intfIs(Dovel::IntfId const& intfId) {
    auto const [member, isNew] =
        intf_.insertOrGet(intfId, [&] { return Mav::makeObject<Intf>(intfId); });
    // A copy, and a reference: `member` lies in the map, which those who hear of it may change.
    Mav::Ptr<Intf> intf = member;
    if (isNew) announce(intfId);
    return intf;
  }
  /// No effect when there is none. The key is a copy: the caller's may live in the member. What
  /// hangs on the entity is withdrawn by whoever hears that it went.
  void intfDel(Dovel::IntfId intfId) {
    if (intf_.erase(intfId)) announce(intfId);
  }

 private:
  void announce(Dovel::IntfId const& intfId) {
    this->notify(intfAttributeId, Dir::onIntfOf, intfId);
  }

  IntfMap intf_;
};

}  // namespace State
