#pragma once
// A forwarding table in memory, which announces what a test does to it, or keeps quiet about it.

#include <map>

#include "platform/pondo/environment/errors.h"
#include "platform/pondo/fib/forwarding_status.h"
#include "platform/pondo/fib/route_status.h"

namespace Pondo::Fib {

template <class Prefix>
class BasicSimulatedRouteStatus : public BasicRouteStatus<Prefix> {
  using Status = BasicRouteStatus<Prefix>;
  using NotifieeConst = typename Status::NotifieeConst;

 public:
  BasicSimulatedRouteStatus() : Status("routeStatus") {}

  std::optional<Route> route(Prefix const& prefix) const override {
    checkReadable();
    auto const found = routes_.find(prefix);
    return found == routes_.end() ? std::nullopt : std::optional(found->second);
  }
  void forEachRoute(absl::FunctionRef<void(Prefix const&, Route const&)> visit) const override {
    checkReadable();
    for (auto const& [prefix, route] : routes_) visit(prefix, route);
  }
  std::size_t routes() const override { return routes_.size(); }

  void routeIs(Prefix const& prefix, Route const& route) {
    routes_[prefix] = route;
    announce(prefix);
  }
  void routeDel(Prefix const& prefix) {
    routes_.erase(prefix);
    announce(prefix);
  }
  void routeDelUnnoticed(Prefix const& prefix) { routes_.erase(prefix); }
  void announce(Prefix const& prefix) const {
    this->notifiees_.notify(Status::routeAttributeId, [&](NotifieeConst& n) { n.onRoute(prefix); });
  }
  /// Every read raises an exception while it is not.
  void isReadableIs(bool readable) { isReadable_ = readable; }

 private:
  void checkReadable() const {
    if (!isReadable_) throw ConsistencyException("/run/x: tables are away");
  }

  std::map<Prefix, Route> routes_;
  bool isReadable_ = true;
};

using SimulatedRouteStatus = BasicSimulatedRouteStatus<Dovel::Prefix>;
using SimulatedRoute6Status = BasicSimulatedRouteStatus<Dovel::Ip6Prefix>;

class SimulatedForwardingStatus : public ForwardingStatus {
 public:
  SimulatedForwardingStatus() : ForwardingStatus("forwardingStatus") {}

  Fec const* fec(FecId fecId) const override {
    ++reads;
    auto const found = fecs_.find(fecId);
    return found == fecs_.end() ? nullptr : &found->second;
  }
  std::map<FecId, Fec> const& fecs() const { return fecs_; }

  void fecIs(FecId fecId, Fec const& fec) {
    fecs_[fecId] = fec;
    announce(fecId);
  }
  void fecDel(FecId fecId) {
    fecs_.erase(fecId);
    announce(fecId);
  }

  mutable unsigned reads = 0;

 private:
  void announce(FecId fecId) const {
    notifiees_.notify(fecAttributeId, [&](NotifieeConst& n) { n.onFec(fecId); });
  }

  std::map<FecId, Fec> fecs_;
};

}  // namespace Pondo::Fib
