#pragma once
// The routes of the forwarding table, by prefix, as the state machines see them: read in place,
// never copied; those of IPv4 (RouteStatus) and those of IPv6 (Route6Status). SharedFib shows those
// of the shared tables; tests have an implementation in memory.
//
// A notification says that something may have changed, never what: the handler reads what is there
// now. All reads of one turn of the activity show one moment, those of ForwardingStatus included.
// All on the agent's thread, from inside a turn. Never blocks.

#include <cstddef>
#include <optional>

#include <absl/functional/function_ref.h>

#include "platform/mav/entity.h"
#include "platform/pondo/fib/packed_prefix.h"
#include "platform/pondo/tables/fib_values.h"

namespace Pondo::Fib {

template <class Prefix>
class BasicRouteStatus : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId routeAttributeId = Mav::firstAttributeId;

  class NotifieeConst : public Mav::Notifiee<BasicRouteStatus const, NotifieeConst> {
   public:
    using Mav::Notifiee<BasicRouteStatus const, NotifieeConst>::Notifiee;
    /// The route of `prefix` may have come, changed or gone: whoever holds it looks again.
    virtual void onRoute(Prefix const& /*prefix*/) {}
    /// Gives the first prefix not less than `from` for which this notifiee holds something, or
    /// nothing. A comparison announces these prefixes too (onRoute), so that a route that has gone
    /// unnoticed is noticed then.
    virtual std::optional<Prefix> filedRoute(PackedPrefix<Prefix> const& /*from*/) const {
      return std::nullopt;
    }
  };

  /// Gives the route of exactly this prefix, or nothing. ConsistencyException when the table cannot
  /// be read now; the caller keeps what it has until it can.
  virtual std::optional<Route> route(Prefix const& prefix) const = 0;

  /// Calls visit(prefix, route) for every route in the order of prefixes. ConsistencyException as
  /// above. It reads a million records at one go: the state machines do so before there are any,
  /// and hear of each route one by one from then on.
  virtual void forEachRoute(absl::FunctionRef<void(Prefix const&, Route const&)> visit) const = 0;

  /// Counts the routes. ConsistencyException as above.
  virtual std::size_t routes() const = 0;

  void addNotifiee(NotifieeConst* notifiee) const { notifiees_.add(notifiee); }
  void removeNotifiee(NotifieeConst* notifiee) const { notifiees_.remove(notifiee); }

 protected:
  using Entity::Entity;
  /// Apart from Mav::Entity's list, whose handlers give no answer (filedRoute): who is in this one
  /// hears nothing of isNondestructing().
  mutable Mav::NotifieeList<NotifieeConst> notifiees_;
};

using RouteStatus = BasicRouteStatus<Dovel::Prefix>;
using Route6Status = BasicRouteStatus<Dovel::Ip6Prefix>;

}  // namespace Pondo::Fib
