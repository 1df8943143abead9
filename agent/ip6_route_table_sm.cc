#include "agent/ip6_route_table_sm.h"

#include <algorithm>

#include "agent/trace.h"
#include "platform/blipmark/blipmark.h"

namespace IpSnmp {

namespace {

constexpr RouteTableTexts textsOfIp6{
    "void IpSnmp::Ip6RouteTableSm::handleRoute()",
    "void IpSnmp::Ip6RouteTableSm::handleRoute(const Dovel::Ip6Prefix&)",
    "void IpSnmp::Ip6RouteTableSm::handleFec(const Pondo::Fib::FecId&)", "inetCidrRouteTable"};

/// In the order of rows. Where several would be one instance, as two device routes of a prefix,
/// the smallest ifIndex has it.
std::vector<Inet6RouteHop> hopsOf(Pondo::Fib::Fec const& fec) {
  std::vector<Inet6RouteHop> hops;
  hops.reserve(fec.vias.size());
  for (auto const& via : fec.vias) {
    bool const isRemote = !via.nextHop6.isUnspecified() || !via.nextHop.isUnspecified();
    hops.push_back({via.nextHop6, static_cast<std::uint32_t>(via.ifIndex),
                    isRemote ? inetCidrRouteTypeRemote : inetCidrRouteTypeLocal, via.routeType});
  }
  // By value: what is served does not depend on the order of the kernel's set.
  std::stable_sort(hops.begin(), hops.end());
  auto const end = std::unique(hops.begin(), hops.end(),
                               [](auto const& a, auto const& b) { return a.isSameInstance(b); });
  hops.erase(end, hops.end());
  return hops;
}

}  // namespace

Ip6RouteTableSm::Ip6RouteTableSm(Mav::Ptr<Mav::ActivityConfig> activityConfig,
                                 Mav::Ptr<IpForwardMib> ipForwardMib,
                                 Mav::Ptr<Pondo::Fib::Route6Status const> routeStatus,
                                 Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus,
                                 Mav::Ptr<Mav::Clock const> clock)
    : RouteTableSm(textsOfIp6, std::move(activityConfig), std::move(ipForwardMib),
                   std::move(routeStatus), std::move(forwardingStatus), std::move(clock)) {
  // The base class begins with the quantum of IPv4.
  backlogQuantumIs(backlogQuantumDefault);
  handleRoute();
}

void Ip6RouteTableSm::doProcessIpRouteBacklog() {
  constexpr auto signature = "void IpSnmp::Ip6RouteTableSm::doProcessIpRouteBacklog()";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8, signature);
  MAV_TRACE(agentTraceHandle(), 2, "Starting backlog processing");
  // Fecs may have changed since the last pass, not during one.
  hopsOfFecs_.clear();
  runPass();
}

void Ip6RouteTableSm::process(Dovel::Ip6Prefix const& prefix) {
  auto const route = this->route(prefix);
  hops_.clear();
  // Everything is read before anything is deleted: what cannot be read leaves the rows as they are.
  if (route) {
    takeHops(prefix, *route);
  } else {
    MAV_TRACE(agentTraceHandle(), 6, prefix << " has no route");
  }
  auto const metric = route ? route->metric : Routing::RouteMetric();
  Mav::validPtr(ipForwardMib())->inetCidrRoutes().routesAre(prefix, hops_, metric);
}

void Ip6RouteTableSm::takeHops(Dovel::Ip6Prefix const& prefix, Pondo::Fib::Route const& route) {
  if (auto const refusal = refusalRow(route)) {
    hops_.push_back({{}, 0, refusal->type, refusal->protocol});
    return;
  }
  auto known = hopsOfFecs_.find(route.fecId);
  if (known == hopsOfFecs_.end()) {
    auto const* const fec = this->fec(route.fecId);
    if (!fec) {
      MAV_TRACE(agentTraceHandle(), 6, prefix << " has a route but can't find fec " << route.fecId);
      return;
    }
    known = hopsOfFecs_.try_emplace(route.fecId, hopsOf(*fec)).first;
  }
  // A copy, in memory that is there: the hops of the fec stay without the protocol of this route.
  hops_ = known->second;
  for (auto& hop : hops_) {
    // A via says its own type where one prefix has several routes of the kernel (fib_values.h,
    // Via). Many routes share a fec, so that the hops kept of it say nothing of a route.
    if (hop.protocol == Routing::Fib::routeTypeUnknown) hop.protocol = route.routeType;
  }
}

std::optional<Dovel::Ip6Prefix> Ip6RouteTableSm::filedRoute(Place const& from) const {
  auto const mib = ipForwardMib();
  auto const order = [&](auto const&... parts) { return Place(parts...) <=> from; };
  return mib ? std::as_const(*mib).inetCidrRoutes().route(order) : std::nullopt;
}

}  // namespace IpSnmp
