#pragma once
// The machine's interfaces: a collection of Interface::IntfStatus by Dovel::IntfId, in the order of
// the names. Filled by State::LinkMirror, with the further interfaces of a link by
// State::Address4Mirror; read by the state machines, on the agent's thread.

#include "platform/mav/announced_map.h"
#include "platform/mav/constructor_parameter.h"
#include "platform/state/entities/intf_status.h"

namespace Interface {

class AllIntfStatusDir : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId intfStatusAttributeId = Mav::firstAttributeId;

  class NotifieeConst : public Mav::Notifiee<AllIntfStatusDir const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// An interface came or went. What changes within one is the IntfStatus's own to tell.
    virtual void onIntfStatus(Dovel::IntfId const& /*intfId*/) {}
  };

  using IntfStatusMap = Mav::OrderedMap<Dovel::IntfId, Mav::Ptr<IntfStatus>>;
  using IntfStatusIteratorConst = IntfStatusMap::IteratorConst;

  explicit AllIntfStatusDir(Mav::Name name = "status") : Entity(std::move(name)) {}

  /// Null when there is no such interface. Whoever keeps it keeps the status of an interface that
  /// may have gone.
  Mav::Ptr<IntfStatus const> intfStatus(Dovel::IntfId const& intfId) const {
    return intfStatus_.map().get(intfId);
  }
  /// Survives what comes and goes meanwhile (ordered_map.h).
  IntfStatusIteratorConst intfStatusIterator() const { return intfStatus_.map().first(); }

  /// Creates the interface, or changes `operUp` of the one that is there. Mav::NameInUseException
  /// when that one has another ifIndex: it has to be deleted first.
  Mav::Ptr<IntfStatus> intfStatusIs(Dovel::IntfId const& intfId, std::int32_t ifIndex,
                                    bool operUp) {
    auto status = intfStatus_.is(
        intfId, [&] { return Mav::makeObject<IntfStatus>(intfId, ifIndex, operUp); },
        [&](IntfStatus const& existing) {
          Mav::checkConstructorParameter("_ifIndex", ifIndex, existing.ifIndex());
        });
    // Of one that was there: a new one has it already.
    status->operUpIs(operUp);
    return status;
  }
  /// No effect when there is none. By then nothing may hang on it: the mirrors withdraw addresses
  /// and neighbours before (State::Phase).
  void intfStatusDel(Dovel::IntfId const& intfId) { intfStatus_.del(intfId); }

 private:
  Mav::AnnouncedMap<IntfStatusMap, NotifieeConst, intfStatusAttributeId,
                    &NotifieeConst::onIntfStatus>
      intfStatus_{*this};
};

}  // namespace Interface
