#include "agent/route_table_sm.h"

#include "agent/route_reactors.h"
#include "agent/trace.h"
#include "platform/blipmark/blipmark.h"

namespace IpSnmp {

std::optional<InetCidrRouteRow> refusalRow(Pondo::Fib::Route const& route) {
  if (!isRefusal(route.routeType)) return std::nullopt;
  // RFC 4292, inetCidrRouteType: reject(2) tells the sender, blackhole(5) drops in silence.
  // Unreachable and prohibit differ in the ICMP message alone.
  auto const type = route.routeType == Routing::Fib::routeTypeBlackhole ? inetCidrRouteTypeBlackhole
                                                                        : inetCidrRouteTypeReject;
  // refusedType: of a refusal the route's own type says how it refuses, and no protocol.
  return InetCidrRouteRow{0, route.metric, type, route.refusedType};
}

template <class Prefix>
RouteTableSm<Prefix>::RouteTableSm(RouteTableTexts const& texts,
                                   Mav::Ptr<Mav::ActivityConfig> activityConfig,
                                   Mav::Ptr<IpForwardMib> ipForwardMib,
                                   Mav::Ptr<RouteStatus const> routeStatus,
                                   Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus,
                                   Mav::Ptr<Mav::Clock const> clock)
    : texts_(texts), activityConfig_(std::move(activityConfig)) {
  ipForwardMibIs(std::move(ipForwardMib));
  inputIs(*this, mavRouteStatus_, std::move(routeStatus));
  inputIs(*this, mavForwardingStatus_, std::move(forwardingStatus));
  // Before anything is entered: the first prefix arms it.
  clockIs(std::move(clock));
  listRoutesOfFecs();
}

template <class Prefix>
RouteTableSm<Prefix>::~RouteTableSm() = default;

// The list is of one RouteStatus: where another is watched it is begun anew.
template <class Prefix>
void RouteTableSm<Prefix>::listRoutesOfFecs() {
  // The list first: what keeps it up to date fills it at once.
  fecRouteListIs();
  fecRouteListSmIs(routeStatus(), forwardingStatus(), fecRouteList_);
}

template <class Prefix>
void RouteTableSm<Prefix>::fecRouteListIs() {
  fecRouteListSm_.reset();
  fecRouteList_ = Mav::makeObject<FecRouteList>();
}

template <class Prefix>
void RouteTableSm<Prefix>::fecRouteListSmIs(
    Mav::Ptr<RouteStatus const> const& routeStatus,
    Mav::Ptr<Pondo::Fib::ForwardingStatus const> const& forwardingStatus,
    Mav::Ptr<FecRouteList> const& fecRouteList) {
  fecRouteListSm_.reset();
  if (!routeStatus) return;
  fecRouteListSm_ = Mav::makeObject<FecRouteListSm>(routeStatus, forwardingStatus, fecRouteList);
}

template <class Prefix>
Mav::Ptr<IpForwardMib> RouteTableSm<Prefix>::ipForwardMib() const {
  return mavIpForwardMib_ ? mavIpForwardMib_->ipForwardMib() : nullptr;
}
template <class Prefix>
auto RouteTableSm<Prefix>::routeStatus() const -> Mav::Ptr<RouteStatus const> {
  return notifierOf(mavRouteStatus_);
}
template <class Prefix>
Mav::Ptr<Pondo::Fib::ForwardingStatus const> RouteTableSm<Prefix>::forwardingStatus() const {
  return notifierOf(mavForwardingStatus_);
}
template <class Prefix>
Mav::Ptr<Mav::Clock const> RouteTableSm<Prefix>::clock() const {
  return notifierOf(mavClock_);
}

template <class Prefix>
void RouteTableSm<Prefix>::ipForwardMibIs(Mav::Ptr<IpForwardMib> ipForwardMib) {
  mavIpForwardMib_.reset();
  if (ipForwardMib) mavIpForwardMib_ = std::make_unique<MavIpForwardMib>(std::move(ipForwardMib));
}

template <class Prefix>
void RouteTableSm<Prefix>::routeStatusIs(Mav::Ptr<RouteStatus const> routeStatus) {
  // Rows of the old one stay until their prefix is announced.
  inputIs(*this, mavRouteStatus_, std::move(routeStatus));
  listRoutesOfFecs();
}

template <class Prefix>
void RouteTableSm<Prefix>::forwardingStatusIs(
    Mav::Ptr<Pondo::Fib::ForwardingStatus const> forwardingStatus) {
  inputIs(*this, mavForwardingStatus_, std::move(forwardingStatus));
  listRoutesOfFecs();
}

template <class Prefix>
void RouteTableSm<Prefix>::clockIs(Mav::Ptr<Mav::Clock const> clock) {
  // Read before the reactor goes, which has it.
  double const timeMin = mavClock_ ? mavClock_->timeMin() : Mav::never;
  inputIs(*this, mavClock_, std::move(clock));
  // What waited for a pass of the old clock waits for one of the new.
  if (mavClock_) mavClock_->timeMinIs(timeMin);
}

template <class Prefix>
void RouteTableSm<Prefix>::backlogIs(Prefix const& prefix, bool value) {
  // A comparison announces keys in order, and the cursor stands where the last one went: its seeks
  // need no descent.
  entry_.seek(prefix);
  if (entry_ && entry_.key() == prefix) return;
  entry_.insert(prefix, {value});
}

template <class Prefix>
void RouteTableSm<Prefix>::handleRoute() {
  Blipmark::Timer const blip(texts_.sweep);
  MAV_TRACE(agentTraceHandle(), 8, texts_.sweep << " initially");
  if (auto const status = routeStatus()) {
    // The route is read again in its pass: what it is by then counts.
    status->forEachRoute([&](Prefix const& prefix, Pondo::Fib::Route const& /*route*/) {
      MAV_TRACE_AS(agentTraceHandle(), 8, "handleRoute",
                   texts_.sweep << " initially for " << prefix);
      backlogIs(prefix, true);
    });
  }
  doSetupBacklogTimer();
}

template <class Prefix>
void RouteTableSm<Prefix>::handleRoute(Prefix const& prefix) {
  Blipmark::Timer const blip(texts_.route);
  MAV_TRACE(agentTraceHandle(), 8, texts_.route << " for " << prefix);
  backlogIs(prefix, true);
  doSetupBacklogTimer();
}

template <class Prefix>
void RouteTableSm<Prefix>::handleFec(Pondo::Fib::FecId const& fecId) {
  Blipmark::Timer const blip(texts_.fec);
  MAV_TRACE(agentTraceHandle(), 8, texts_.fec << " for " << fecId);
  // Prefixes whose route has changed to another fec since then are announced by themselves.
  auto const* const prefixes = fecRouteList_->routes(fecId);
  if (!prefixes) return;
  for (auto const& prefix : *prefixes) {
    MAV_TRACE(agentTraceHandle(), 9, "adding " << prefix << " to backlog for " << fecId);
    backlogIs(prefix, true);
  }
  doSetupBacklogTimer();
}

template <class Prefix>
void RouteTableSm<Prefix>::doSetupBacklogTimer() {
  // A pass that is armed or under way sees what is entered until its end.
  if (mavClock_ && mavClock_->timeMin() == Mav::never) mavClock_->timeMinIs(Mav::asap);
}

template <class Prefix>
void RouteTableSm<Prefix>::runPass() {
  bool const done = workOff(Mav::now() + backlogQuantum_);
  MAV_TRACE_AS(agentTraceHandle(), 2, "doProcessIpRouteBacklog",
               "Backlog processing " << (done ? "done" : "yielding"));
  // What is thrown does not come here: the clock stays armed, and pauses.
  if (mavClock_) mavClock_->timeMinIs(done ? Mav::never : Mav::asap);
}

template <class Prefix>
bool RouteTableSm<Prefix>::workOff(double deadline) {
  // Round and round: prefixes at the front that change all the time do not keep those behind from
  // being filed.
  work_.seek(bookmark_);
  for (;;) {
    // Nothing waits behind the bookmark: the pass goes on from the first prefix.
    if (!work_) work_.seek({});
    if (!work_) return true;
    auto const prefix = work_.key();
    // Looked at before the first prefix too: a pass without time does nothing.
    if (Mav::now() > deadline) {
      bookmark_ = prefix;
      return false;
    }
    // What throws holds up the prefixes behind it, too: tables that cannot be read concern them
    // all.
    process(prefix);
    // Erased after it was filed: what is thrown leaves it in the backlog. And sought again, for
    // those who hear of the rows may have changed the backlog.
    work_.seek(prefix);
    if (work_ && work_.key() == prefix) work_.erase();
  }
}

template <class Prefix>
std::optional<Pondo::Fib::Route> RouteTableSm<Prefix>::route(Prefix const& prefix) const {
  return mavRouteStatus_ ? mavRouteStatus_->notifier()->route(prefix) : std::nullopt;
}

template <class Prefix>
Pondo::Fib::Fec const* RouteTableSm<Prefix>::fec(Pondo::Fib::FecId const& fecId) const {
  return mavForwardingStatus_ ? mavForwardingStatus_->notifier()->fec(fecId) : nullptr;
}

template class RouteTableSm<Dovel::Prefix>;
template class RouteTableSm<Dovel::Ip6Prefix>;

}  // namespace IpSnmp
