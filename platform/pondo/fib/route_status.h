#pragma once
// The routes of the forwarding table, by prefix, as state machines see them: read in place, never
// copied. SharedFib is the one over the shared tables; tests have one in memory.
//
// All on the agent's thread. Never blocks. Readers call from a turn of the activity; what they read
// in one turn is of one moment, together with ForwardingStatus.

#include <cstddef>
#include <optional>

#include <absl/functional/function_ref.h>

#include "platform/dovel/prefix.h"
#include "platform/mav/entity.h"
#include "platform/pondo/tables/fib_values.h"

namespace Pondo::Fib {

class RouteStatus : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId routeAttributeId = Mav::firstAttributeId;

  class NotifieeConst : public Mav::Notifiee<RouteStatus const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// The route of `prefix` may have come, changed or gone: look.
    virtual void onRoute(Dovel::Prefix const& /*prefix*/) {}
    /// The first prefix, in the order of prefixes, not less than `from` for which this notifiee
    /// keeps something: it hears of it (onRoute) when a table is compared anew, even though the
    /// route may have gone unnoticed meanwhile. Nothing when it keeps none.
    virtual std::optional<Dovel::Prefix> filedRoute(Dovel::Prefix const& /*from*/) const {
      return std::nullopt;
    }
  };

  /// The route of exactly this prefix, or nothing. ConsistencyException when the table cannot be
  /// read now: what is known stays true until it can.
  virtual std::optional<Route> route(Dovel::Prefix const& prefix) const = 0;

  /// Calls visit(prefix, route) for every route, in the order of prefixes (address, then length).
  /// ConsistencyException as above.
  virtual void forEachRoute(
      absl::FunctionRef<void(Dovel::Prefix const&, Route const&)> visit) const = 0;

  /// ConsistencyException as above.
  virtual std::size_t routes() const = 0;

  std::string_view typeName() const override { return "Pondo::Fib::RouteStatus"; }
  Mav::AttributeTable const& attributeTable() const override;
  void addNotifiee(NotifieeConst* notifiee) const { notifiees_.add(notifiee); }
  void removeNotifiee(NotifieeConst* notifiee) const { notifiees_.remove(notifiee); }

 protected:
  using Entity::Entity;
  mutable Mav::NotifieeList<NotifieeConst> notifiees_;
};

}  // namespace Pondo::Fib
