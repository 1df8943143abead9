#pragma once
// The one attribute that Routing::Config and Routing6::Config have: whether the machine forwards
// packets of that IP version between its interfaces. Config is the class itself (CRTP), so that
// the two stay distinct types with notifiee interfaces of their own.
//
// Written by State::ForwardingMirror, read by handlers and notifiees, all on the agent's thread.

#include "platform/mav/entity.h"

namespace State {

template <class Config>
class RoutingFlag : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId routingAttributeId = Mav::firstAttributeId;

  class NotifieeConst : public Mav::Notifiee<Config const, NotifieeConst> {
   public:
    using Mav::Notifiee<Config const, NotifieeConst>::Notifiee;
    virtual void onRouting() {}
  };

  using Mav::Entity::Entity;

  /// That of all interfaces together; what single ones have (conf.NAME.forwarding) is not told
  /// here.
  bool routing() const { return routing_; }
  /// Announces a change; the same value again does nothing.
  void routingIs(bool routing) {
    store(routing_, routing, routingAttributeId, &NotifieeConst::onRouting);
  }

 private:
  bool routing_ = false;
};

}  // namespace State
