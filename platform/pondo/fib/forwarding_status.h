#pragma once
// The fecs of the forwarding table, by id, as the route state machine sees them: decoded, read in
// place, and of the same moment as the routes of that turn. RouteStatus has the rules
// (route_status.h). On the agent's thread.

#include <memory>

#include "platform/mav/entity.h"
#include "platform/pondo/tables/fib_values.h"

namespace Pondo::Fib {

class ForwardingStatus : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId fecAttributeId = Mav::firstAttributeId;

  class NotifieeConst : public Mav::Notifiee<ForwardingStatus const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// The fec may have come, changed or gone: whoever holds it looks again.
    virtual void onFec(FecId /*fecId*/) {}
  };

  /// Gives the fec, decoded, or null; valid until the end of the turn. ConsistencyException when
  /// the table cannot be read now. Many routes ask for one fec: an implementation decodes it once.
  virtual Fec const* fec(FecId fecId) const = 0;

  void addNotifiee(NotifieeConst* notifiee) const { notifiees_.add(notifiee); }
  void removeNotifiee(NotifieeConst* notifiee) const { notifiees_.remove(notifiee); }

 protected:
  using Entity::Entity;
  /// As that of RouteStatus: apart from Mav::Entity's.
  mutable Mav::NotifieeList<NotifieeConst> notifiees_;
};

}  // namespace Pondo::Fib
