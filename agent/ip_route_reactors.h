#pragma once
// The reactors of the route state machine's inputs: each hands on what it hears.

#include <string>

#include "agent/ip_route_table_sm.h"

namespace IpSnmp {

/// Nothing that happens in IpForwardMib concerns its only writer: this one holds it, and hears
/// nothing, so that rows are changed in place while nobody else listens.
class IpRouteTableSm::MavIpForwardMib final : public IpForwardMib::NotifieeConst {
 public:
  explicit MavIpForwardMib(Mav::Ptr<IpForwardMib> mib) : NotifieeConst(mib), mib_(std::move(mib)) {
    NotifieeConst::hasNotificationActiveIs(false);
  }
  Mav::Ptr<IpForwardMib> const& ipForwardMib() const { return mib_; }

 private:
  Mav::Ptr<IpForwardMib> const mib_;
};

class IpRouteTableSm::MavIntfStatusDir final : public Interface::AllIntfStatusDir::NotifieeConst {
 public:
  MavIntfStatusDir(IpRouteTableSm& sm, Mav::Ptr<Interface::AllIntfStatusDir const> dir)
      : NotifieeConst(std::move(dir)), sm_(sm) {}
  void onIntfStatus(Dovel::IntfId const& intfId) override { sm_.handleIntfStatus(intfId); }

 private:
  IpRouteTableSm& sm_;
};

class IpRouteTableSm::MavRouteStatus final : public Pondo::Fib::RouteStatus::NotifieeConst {
 public:
  MavRouteStatus(IpRouteTableSm& sm, Mav::Ptr<Pondo::Fib::RouteStatus const> status)
      : NotifieeConst(std::move(status)), sm_(sm) {}
  void onRoute(Dovel::Prefix const& prefix) override { sm_.handleRoute(prefix); }
  /// Those that have rows. The backlog is looked at anyway.
  std::optional<Dovel::Prefix> filedRoute(Dovel::Prefix const& from) const override;

 private:
  IpRouteTableSm& sm_;
};

class IpRouteTableSm::MavForwardingStatus final
    : public Pondo::Fib::ForwardingStatus::NotifieeConst {
 public:
  MavForwardingStatus(IpRouteTableSm& sm, Mav::Ptr<Pondo::Fib::ForwardingStatus const> status)
      : NotifieeConst(std::move(status)), sm_(sm) {}
  void onFec(Pondo::Fib::FecId fecId) override { sm_.handleFec(fecId); }

 private:
  IpRouteTableSm& sm_;
};

/// The passes' timer. While the tables cannot be read, it says so once.
class IpRouteTableSm::MavClock final : public Mav::Clock::NotifieeConst {
 public:
  MavClock(IpRouteTableSm& sm, Mav::Ptr<Mav::Clock const> clock)
      : NotifieeConst(std::move(clock)), sm_(sm) {}
  void onTime() override;
  void onException(Mav::AttributeId attribute, std::exception_ptr exception) override;

 private:
  void tellOutage(std::string const& text);

  IpRouteTableSm& sm_;
  bool outageTold_ = false;
};

}  // namespace IpSnmp
