#pragma once
// The status of one interface. One object lives as long as the pair (name, ifIndex): a renamed
// link, or a name that comes back with another index, is one object that goes and another that
// comes. Written by State::LinkMirror, those of further interfaces by State::Address4Mirror, on the
// agent's thread.

#include <cstdint>

#include "platform/dovel/intf_id.h"
#include "platform/mav/entity.h"

namespace Interface {

class IntfStatus : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId intfIdAttributeId = Mav::firstAttributeId;
  static constexpr Mav::AttributeId ifIndexAttributeId = Mav::firstAttributeId + 1;
  static constexpr Mav::AttributeId operUpAttributeId = Mav::firstAttributeId + 2;

  class NotifieeConst : public Mav::Notifiee<IntfStatus const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// The one thing about an interface that changes: for all else there is another object.
    virtual void onOperUp() {}
  };

  /// By AllIntfStatusDir alone; tests make others.
  IntfStatus(Dovel::IntfId intfId, std::int32_t ifIndex, bool operUp = false)
      : Entity(intfId.stringValue()), intfId_(intfId), ifIndex_(ifIndex), operUp_(operUp) {}

  Dovel::IntfId const& intfId() const { return intfId_; }

  /// The kernel's interface index, 1 or more. The further interfaces of a link have the link's.
  std::int32_t ifIndex() const { return ifIndex_; }

  /// Up and running (IFF_UP and IFF_RUNNING). Of a further interface that of its link.
  bool operUp() const { return operUp_; }
  void operUpIs(bool operUp) {
    store(operUp_, operUp, operUpAttributeId, &NotifieeConst::onOperUp);
  }

 private:
  Dovel::IntfId const intfId_;
  std::int32_t const ifIndex_;
  bool operUp_;
};

}  // namespace Interface
