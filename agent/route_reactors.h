#pragma once
// The reactors of a route state machine's inputs, of either family: each hands on what it hears.
// The state machine owns them. They decide nothing, and read no table. On the agent's thread.

#include <string>

#include "agent/reactor.h"
#include "agent/route_table_sm.h"
#include "platform/mav/trace_handle.h"
#include "platform/pondo/environment/errors.h"

namespace IpSnmp {

/// Nothing that happens in IpForwardMib concerns its only writers: this one holds it, and hears
/// nothing, so that rows are changed in place while nobody else listens.
template <class Prefix>
class RouteTableSm<Prefix>::MavIpForwardMib final : public IpForwardMib::NotifieeConst {
 public:
  explicit MavIpForwardMib(Mav::Ptr<IpForwardMib> mib) : NotifieeConst(mib), mib_(std::move(mib)) {
    NotifieeConst::hasNotificationActiveIs(false);
  }
  Mav::Ptr<IpForwardMib> const& ipForwardMib() const { return mib_; }

 private:
  Mav::Ptr<IpForwardMib> const mib_;
};

// A route that is announced is entered, and read in its pass. That of a comparison is one of a
// million, so that nothing is looked up here.
template <class Prefix>
class RouteTableSm<Prefix>::MavRouteStatus final : public RouteStatus::NotifieeConst {
 public:
  MavRouteStatus(RouteTableSm& sm, Mav::Ptr<RouteStatus const> status)
      : RouteStatus::NotifieeConst(std::move(status)), sm_(sm) {}
  /// Into the backlog: it came, changed or went, or a comparison has met it.
  void onRoute(Prefix const& prefix) override { sm_.handleRoute(prefix); }
  /// Those that have rows. The backlog is looked at anyway.
  std::optional<Prefix> filedRoute(Place const& from) const override {
    return sm_.filedRoute(from);
  }

 private:
  RouteTableSm& sm_;
};

// A fec that comes concerns nobody yet: the routes that use it are announced themselves.
template <class Prefix>
class RouteTableSm<Prefix>::MavForwardingStatus final
    : public Pondo::Fib::ForwardingStatus::NotifieeConst {
 public:
  MavForwardingStatus(RouteTableSm& sm, Mav::Ptr<Pondo::Fib::ForwardingStatus const> status)
      : NotifieeConst(std::move(status)), sm_(sm) {}
  /// Enters all prefixes that use it at once, however many they are: the follower ends its slice
  /// with a fec (SharedFib::isHeavy).
  void onFec(Pondo::Fib::FecId fecId) override { sm_.handleFec(fecId); }

 private:
  RouteTableSm& sm_;
};

/// The passes' timer. While the tables cannot be read, it says so once.
template <class Prefix>
class RouteTableSm<Prefix>::MavClock final : public Mav::Clock::NotifieeConst {
 public:
  MavClock(RouteTableSm& sm, Mav::Ptr<Mav::Clock const> clock)
      : NotifieeConst(std::move(clock)), sm_(sm) {}

  /// One pass, which arms the clock for the next one where the backlog has more.
  void onTime() override {
    // What it throws leaves `outageTold_` as it was: an outage ends with a pass that went well.
    sm_.doProcessIpRouteBacklog();
    outageTold_ = false;
  }
  /// What ended a pass: an outage of the tables is told to the operator, anything else is a fault.
  void onException(Mav::AttributeId attribute, std::exception_ptr exception) override {
    try {
      std::rethrow_exception(exception);
    } catch (Pondo::ConsistencyException const& e) {
      // The clock calls again after its pause: the reactor's time is still set.
      tellOutage(e.what());
    } catch (...) {
      NotifieeConst::onException(attribute, exception);
    }
  }

 private:
  // The number of those that wait is the backlog's: more may come while it lasts.
  void tellOutage(std::string const& text) {
    if (std::exchange(outageTold_, true)) return;
    Mav::log(Mav::Severity::warning, std::string(sm_.texts_.table) + " stays as it is, " +
                                         std::to_string(sm_.backlog().size()) +
                                         " prefixes wait, trying again every second: " + text);
  }

  RouteTableSm& sm_;
  // One line for each outage and table, however long it lasts.
  bool outageTold_ = false;
};

}  // namespace IpSnmp
