#include "agent/ip_route_table_sm.h"

#include <array>

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
bool isServed(RouteType type) { return type != Routing::Fib::routeTypeUnknown && !isRefusal(type); }

constexpr RouteTableTexts textsOfIp4{
    "void IpSnmp::IpRouteTableSm::handleRoute()",
    "void IpSnmp::IpRouteTableSm::handleRoute(const Dovel::Prefix&)",
    "void IpSnmp::IpRouteTableSm::handleFec(const Pondo::Fib::FecId&)", "ipCidrRouteTable"};

}  // namespace

IpRouteTableSm::IpRouteTableSm(Mav::Ptr<Mav::ActivityConfig> activityConfig,
                               Mav::Ptr<IpForwardMib> ipForwardMib,
                               Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir,
                               Mav::Ptr<Pondo::Fib::RouteStatus const> routeStatus,
                               Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus,
                               Mav::Ptr<Mav::Clock const> clock)
    : RouteTableSm(textsOfIp4, std::move(activityConfig), std::move(ipForwardMib),
                   std::move(routeStatus), std::move(forwardingStatus), std::move(clock)) {
  intfStatusDirIs(std::move(intfStatusDir));
  doInstantiate();
  handleRoute();
}

IpRouteTableSm::~IpRouteTableSm() = default;

void IpRouteTableSm::doInstantiate() {
  for (auto const& [type, protocol] : protocols) protocolMap().protocolIs(type, protocol);
}

Mav::Ptr<Interface::AllIntfStatusDir const> IpRouteTableSm::intfStatusDir() const {
  return notifierOf(mavIntfStatusDir_);
}

void IpRouteTableSm::intfStatusDirIs(Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir) {
  inputIs(*this, mavIntfStatusDir_, std::move(intfStatusDir));
}

std::optional<Dovel::Prefix> IpRouteTableSm::filedRoute(Place const& from) const {
  auto const mib = ipForwardMib();
  if (!mib) return std::nullopt;
  // A prefix has rows in the one collection or a refusal in the other: the first of both is the
  // lesser one.
  auto const order = [&](auto const&... parts) { return Place(parts...) <=> from; };
  auto const served = mib->ipCidrRoutePrefix(order);
  auto const refused = std::as_const(*mib).inetCidrRoutes().refusal(order);
  return !served || (refused && *refused < *served) ? refused : served;
}

Mav::Ptr<PrefixList> IpRouteTableSm::intfDepIs(Dovel::IntfId const& intfId) {
  // By name: the interface may never come, or come with another ifIndex.
  return intfDep_.insertOrGet(intfId, [&] { return newIntfDep(intfId); }).first;
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
  // In the order of prefixes, so that each costs no descent.
  for (auto prefix = list->prefixIterator(); prefix; ++prefix) {
    MAV_TRACE(agentTraceHandle(), 9, "adding " << prefix.key() << " to backlog due to " << intfId);
    backlogIs(prefix.key(), true);
  }
  // A prefix that still finds no status comes back to the list in its pass.
  list->prefixDelAll();
  doSetupBacklogTimer();
}

void IpRouteTableSm::doProcessIpRouteBacklog() {
  constexpr auto signature = "void IpSnmp::IpRouteTableSm::doProcessIpRouteBacklog()";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8, signature);
  MAV_TRACE(agentTraceHandle(), 2, "Starting backlog processing");
  fecRows_.clear();  // fecs and ifIndexes may have changed since the last pass, not during one
  runPass();
}

void IpRouteTableSm::process(Dovel::Prefix const& prefix) {
  auto const route = this->route(prefix);
  // Everything is read before anything is deleted: what cannot be read leaves the rows as they are.
  auto const* const rows = fecRows(prefix, route ? &*route : nullptr);
  auto& mib = *Mav::validPtr(ipForwardMib());
  if (auto const refusal = route ? refusalRow(*route) : std::nullopt) {
    mib.inetCidrRoutes().refusalIs(prefix, *refusal);
  } else {
    mib.inetCidrRoutes().refusalDel(prefix);
  }
  // One search, also of a prefix that has none: a route that was never served costs no more.
  if (!rows) return mib.ipCidrRoutesDel(prefix);
  mib.ipCidrRoutesAre(prefix, rows->hops(), route->metric, route->preference, route->routeType);
  // Behind the rows, and of each route anew: a fec is shared, a list is of prefixes.
  for (auto const& refusal : rows->refusals()) refuse(prefix, refusal);
  // A fec with too many vias is an error, which is raised when the rows of the first ones stand.
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
    // A route that refuses names no fec, and ends here as well.
    auto const* const fec = this->fec(route->fecId);
    if (!fec) {
      MAV_TRACE(agentTraceHandle(), 6,
                prefix << " has a route but can't find fec " << route->fecId);
      return nullptr;
    }
    // Once a fec and pass, however many routes use it.
    known = fecRows_.try_emplace(route->fecId, *fec, intfStatusDir().get()).first;
  }
  // Behind the fec: a trace names what is missing first.
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
      // The other vias of the route have their rows meanwhile: a manager sees a set that is short
      // of one.
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
