#include "agent/ip_route_table_sm.h"

#include <array>

#include "agent/ip_route_reactors.h"
#include "agent/trace.h"
#include "model/protocol_map.h"
#include "platform/blipmark/blipmark.h"

namespace IpSnmp {

namespace {

using Routing::Fib::RouteType;

struct ProtocolOfType {
  RouteType type;
  IpRouteProtocol protocol;
};

// Any other type is served as other(1).
constexpr std::array protocols{
    ProtocolOfType{Routing::Fib::routeTypeConnected, ipRouteProtocolLocal},
    ProtocolOfType{Routing::Fib::routeTypeStatic, ipRouteProtocolNetmgmt},
    ProtocolOfType{Routing::Fib::routeTypeRip, ipRouteProtocolRip},
    ProtocolOfType{Routing::Fib::routeTypeOspf, ipRouteProtocolOspf},
    ProtocolOfType{Routing::Fib::routeTypeOspfInterArea, ipRouteProtocolOspf},
    ProtocolOfType{Routing::Fib::routeTypeOspfExternal1, ipRouteProtocolOspf},
    ProtocolOfType{Routing::Fib::routeTypeOspfExternal2, ipRouteProtocolOspf},
    ProtocolOfType{Routing::Fib::routeTypeOspfNssaExternal1, ipRouteProtocolOspf},
    ProtocolOfType{Routing::Fib::routeTypeOspfNssaExternal2, ipRouteProtocolOspf},
    ProtocolOfType{Routing::Fib::routeTypeBgp, ipRouteProtocolBgp},
    ProtocolOfType{Routing::Fib::routeTypeInternalBgp, ipRouteProtocolBgp}};

/// Carries traffic, so that there is a next hop to serve.
bool isServed(RouteType type) {
  switch (type) {
    case Routing::Fib::routeTypeUnknown:
    case Routing::Fib::routeTypeBlackhole:
    case Routing::Fib::routeTypeUnreachable:
    case Routing::Fib::routeTypeProhibit:
      return false;
    default:
      return true;
  }
}

template <class Reactor>
auto notifierOf(Reactor const& reactor) {
  return reactor ? reactor->notifier() : nullptr;
}

}  // namespace

IpRouteTableSm::IpRouteTableSm(Mav::Ptr<Mav::ActivityConfig> activityConfig,
                               Mav::Ptr<IpForwardMib> ipForwardMib,
                               Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir,
                               Mav::Ptr<Pondo::Fib::RouteStatus const> routeStatus,
                               Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus,
                               Mav::Ptr<Mav::Clock const> clock)
    : activityConfig_(std::move(activityConfig)) {
  ipForwardMibIs(std::move(ipForwardMib));
  intfStatusDirIs(std::move(intfStatusDir));
  if (routeStatus) {
    mavRouteStatus_ = std::make_unique<MavRouteStatus>(*this, std::move(routeStatus));
  }
  if (forwardingStatus) {
    mavForwardingStatus_ =
        std::make_unique<MavForwardingStatus>(*this, std::move(forwardingStatus));
  }
  clockIs(std::move(clock));
  doInstantiate();
  handleRoute();
}

IpRouteTableSm::~IpRouteTableSm() = default;

void IpRouteTableSm::doInstantiate() {
  for (auto const& [type, protocol] : protocols) protocolMap().protocolIs(type, protocol);
  listRoutesOfFecs();
}

void IpRouteTableSm::listRoutesOfFecs() {
  fecRouteListIs();
  fecRouteListSmIs(routeStatus(), forwardingStatus(), fecRouteList_);
}

void IpRouteTableSm::fecRouteListIs() {
  fecRouteListSm_.reset();
  fecRouteList_ = Mav::makeObject<Pondo::Fib::FecRouteList>();
}

void IpRouteTableSm::fecRouteListSmIs(
    Mav::Ptr<Pondo::Fib::RouteStatus const> const& routeStatus,
    Mav::Ptr<Pondo::Fib::ForwardingStatus const> const& forwardingStatus,
    Mav::Ptr<Pondo::Fib::FecRouteList> const& fecRouteList) {
  fecRouteListSm_.reset();
  if (!routeStatus) return;
  fecRouteListSm_ =
      Mav::makeObject<Pondo::Fib::FecRouteListSm>(routeStatus, forwardingStatus, fecRouteList);
}

Mav::Ptr<IpForwardMib> IpRouteTableSm::ipForwardMib() const {
  return mavIpForwardMib_ ? mavIpForwardMib_->ipForwardMib() : nullptr;
}
Mav::Ptr<Interface::AllIntfStatusDir const> IpRouteTableSm::intfStatusDir() const {
  return notifierOf(mavIntfStatusDir_);
}
Mav::Ptr<Pondo::Fib::RouteStatus const> IpRouteTableSm::routeStatus() const {
  return notifierOf(mavRouteStatus_);
}
Mav::Ptr<Pondo::Fib::ForwardingStatus const> IpRouteTableSm::forwardingStatus() const {
  return notifierOf(mavForwardingStatus_);
}
Mav::Ptr<Mav::Clock const> IpRouteTableSm::clock() const { return notifierOf(mavClock_); }

void IpRouteTableSm::ipForwardMibIs(Mav::Ptr<IpForwardMib> ipForwardMib) {
  mavIpForwardMib_.reset();
  if (ipForwardMib) mavIpForwardMib_ = std::make_unique<MavIpForwardMib>(std::move(ipForwardMib));
}

void IpRouteTableSm::intfStatusDirIs(Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir) {
  mavIntfStatusDir_.reset();
  if (!intfStatusDir) return;
  mavIntfStatusDir_ = std::make_unique<MavIntfStatusDir>(*this, std::move(intfStatusDir));
}

void IpRouteTableSm::routeStatusIs(Mav::Ptr<Pondo::Fib::RouteStatus const> routeStatus) {
  mavRouteStatus_.reset();
  if (routeStatus) {
    mavRouteStatus_ = std::make_unique<MavRouteStatus>(*this, std::move(routeStatus));
  }
  listRoutesOfFecs();
}

void IpRouteTableSm::forwardingStatusIs(
    Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus) {
  mavForwardingStatus_.reset();
  if (forwardingStatus) {
    mavForwardingStatus_ =
        std::make_unique<MavForwardingStatus>(*this, std::move(forwardingStatus));
  }
  listRoutesOfFecs();
}

void IpRouteTableSm::clockIs(Mav::Ptr<Mav::Clock const> clock) {
  double const timeMin = mavClock_ ? mavClock_->timeMin() : Mav::never;
  mavClock_.reset();
  if (!clock) return;
  mavClock_ = std::make_unique<MavClock>(*this, std::move(clock));
  mavClock_->timeMinIs(timeMin);
}

void IpRouteTableSm::backlogIs(Dovel::Prefix const& prefix, bool value) {
  entry_.seek(prefix);
  if (entry_ && entry_.key() == prefix) return;
  entry_.insert(prefix, {value});
}

Mav::Ptr<PrefixList> IpRouteTableSm::intfDepIs(Dovel::IntfId const& intfId) {
  return intfDep_.insertOrGet(intfId, [&] { return newIntfDep(intfId); }).first;
}

void IpRouteTableSm::handleRoute() {
  constexpr auto signature = "void IpSnmp::IpRouteTableSm::handleRoute()";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8, signature << " initially");
  if (auto const status = routeStatus()) {
    status->forEachRoute([&](Dovel::Prefix const& prefix, Pondo::Fib::Route const& /*route*/) {
      MAV_TRACE_AS(agentTraceHandle(), 8, "handleRoute", signature << " initially for " << prefix);
      backlogIs(prefix, true);
    });
  }
  doSetupBacklogTimer();
}

void IpRouteTableSm::handleRoute(Dovel::Prefix const& prefix) {
  constexpr auto signature = "void IpSnmp::IpRouteTableSm::handleRoute(const Dovel::Prefix&)";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8, signature << " for " << prefix);
  backlogIs(prefix, true);
  doSetupBacklogTimer();
}

void IpRouteTableSm::handleFec(Pondo::Fib::FecId const& fecId) {
  constexpr auto signature = "void IpSnmp::IpRouteTableSm::handleFec(const Pondo::Fib::FecId&)";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8, signature << " for " << fecId);
  auto const* const prefixes = fecRouteList_->routes(fecId);
  if (!prefixes) return;
  for (auto const& prefix : *prefixes) {
    MAV_TRACE(agentTraceHandle(), 9, "adding " << prefix << " to backlog for " << fecId);
    backlogIs(prefix, true);
  }
  doSetupBacklogTimer();
}

void IpRouteTableSm::handleIntfStatus(Dovel::IntfId const& intfId) {
  constexpr auto signature = "void IpSnmp::IpRouteTableSm::handleIntfStatus(const Dovel::IntfId&)";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8, signature << " for " << intfId);
  auto const list = intfDep(intfId);
  if (!list) {
    MAV_TRACE(agentTraceHandle(), 8, "no prefixes for " << intfId);
    return;
  }
  for (auto prefix = list->prefixIterator(); prefix; ++prefix) {
    MAV_TRACE(agentTraceHandle(), 9, "adding " << prefix.key() << " to backlog due to " << intfId);
    backlogIs(prefix.key(), true);
  }
  list->prefixDelAll();
  doSetupBacklogTimer();
}

void IpRouteTableSm::doSetupBacklogTimer() {
  if (mavClock_ && mavClock_->timeMin() == Mav::never) mavClock_->timeMinIs(Mav::asap);
}

void IpRouteTableSm::doProcessIpRouteBacklog() {
  constexpr auto signature = "void IpSnmp::IpRouteTableSm::doProcessIpRouteBacklog()";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8, signature);
  MAV_TRACE(agentTraceHandle(), 2, "Starting backlog processing");
  fecRows_.clear();
  bool const done = workOff(Mav::now() + backlogQuantum_);
  MAV_TRACE(agentTraceHandle(), 2, "Backlog processing " << (done ? "done" : "yielding"));
  if (mavClock_) mavClock_->timeMinIs(done ? Mav::never : Mav::asap);
}

bool IpRouteTableSm::workOff(double deadline) {
  work_.seek(bookmark_);
  for (;;) {
    if (!work_) work_.seek({});
    if (!work_) return true;
    auto const prefix = work_.key();
    if (Mav::now() > deadline) {
      bookmark_ = prefix;
      return false;
    }
    process(prefix);
    work_.seek(prefix);
    if (work_ && work_.key() == prefix) work_.erase();
  }
}

void IpRouteTableSm::process(Dovel::Prefix const& prefix) {
  auto const route = mavRouteStatus_ ? mavRouteStatus_->notifier()->route(prefix) : std::nullopt;
  // Everything is read before anything is deleted: what cannot be read leaves the rows as they are.
  auto const* const rows = fecRows(prefix, route ? &*route : nullptr);
  auto& mib = *Mav::validPtr(ipForwardMib());
  if (!rows) return mib.ipCidrRoutesDel(prefix);
  mib.ipCidrRoutesAre(prefix, rows->hops(), route->metric, route->preference, route->routeType);
  for (auto const& refusal : rows->refusals()) refuse(prefix, refusal);
  rows->checkVias();
}

FecRows const* IpRouteTableSm::fecRows(Dovel::Prefix const& prefix,
                                       Pondo::Fib::Route const* route) {
  if (!route) {
    MAV_TRACE(agentTraceHandle(), 6, prefix << " has no route");
    return nullptr;
  }
  auto known = fecRows_.find(route->fecId);
  if (known == fecRows_.end()) {
    auto const* const fec =
        mavForwardingStatus_ ? mavForwardingStatus_->notifier()->fec(route->fecId) : nullptr;
    if (!fec) {
      MAV_TRACE(agentTraceHandle(), 6,
                prefix << " has a route but can't find fec " << route->fecId);
      return nullptr;
    }
    known = fecRows_.try_emplace(route->fecId, *fec, intfStatusDir().get()).first;
  }
  if (!isServed(route->routeType)) {
    MAV_TRACE(agentTraceHandle(), 8,
              "Route is of type " << route->routeType << ", not suitable for fib");
    return nullptr;
  }
  return &known->second;
}

void IpRouteTableSm::refuse(Dovel::Prefix const& prefix, FecRows::Refusal const& refusal) {
  auto const& intfId = refusal.via.intfId;
  switch (refusal.reason) {
    case FecRows::Refusal::Reason::noIntfStatus:
      MAV_TRACE(
          agentTraceHandle(), 8,
          "Can't find intfStatus for " << intfId << ", adding " << prefix << " to intf dep list");
      intfDepIs(intfId)->prefixIs(prefix, true);
      break;
    case FecRows::Refusal::Reason::negativeIfIndex:
      MAV_TRACE(agentTraceHandle(), 8,
                intfId << " has ifIndex " << refusal.ifIndex << ", skipping");
      break;
    case FecRows::Refusal::Reason::nextHopTaken:
      MAV_TRACE(agentTraceHandle(), 8,
                "Route already in ipCidrRouteTable: " << IpCidrRouteTableIndex(
                    prefix.address(), prefix.mask(), 0, refusal.via.nextHop));
      break;
  }
}

}  // namespace IpSnmp
