#include "agent/root.h"

#include <array>

#include "platform/mav/constructor_parameter.h"

namespace IpSnmp {

Mav::Ptr<IpAddressTableSm> Root::ipAddressTableSmIs(
    Mav::Ptr<Mav::ActivityConfig> const& activityConfig,
    Mav::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir, Mav::Ptr<IpMib> const& ipMib,
    Mav::Ptr<Ip::Config const> const& ipConfig, Mav::Ptr<Ip::Status const> const& ipStatus,
    Mav::Ptr<Ip6::Config const> const& ip6Config, Mav::Ptr<Ip6::Status const> const& ip6Status) {
  if (auto const& sm = ipAddressTableSm_) {
    // A state machine is never given other inputs behind the back of who has it: NameInUseException
    // tells which one differs.
    Mav::checkConstructorParameter("_activityConfig", activityConfig, sm->activityConfig());
    Mav::checkConstructorParameter("_intfStatusDir", intfStatusDir, sm->intfStatusDir());
    Mav::checkConstructorParameter("_ipMib", ipMib, sm->ipMib());
    Mav::checkConstructorParameter("_config", ipConfig, sm->config());
    Mav::checkConstructorParameter("_status", ipStatus, sm->status());
    Mav::checkConstructorParameter("_config6", ip6Config, sm->config6());
    Mav::checkConstructorParameter("_status6", ip6Status, sm->status6());
  } else {
    ipAddressTableSm_ = Mav::makeObject<IpAddressTableSm>(activityConfig, intfStatusDir, ipMib,
                                                          ipConfig, ipStatus, ip6Config, ip6Status);
  }
  return ipAddressTableSm_;
}

Mav::Ptr<ArpTableSm> Root::arpTableSmIs(
    Mav::Ptr<Mav::ActivityConfig> const& activityConfig,
    Mav::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir, Mav::Ptr<IpMib> const& ipMib,
    Mav::Ptr<Arp::NeighborDir const> const& arpStatus) {
  if (auto const& sm = arpTableSm_) {
    Mav::checkConstructorParameter("_activityConfig", activityConfig, sm->activityConfig());
    Mav::checkConstructorParameter("_intfStatusDir", intfStatusDir, sm->intfStatusDir());
    Mav::checkConstructorParameter("_ipMib", ipMib, sm->ipMib());
    Mav::checkConstructorParameter("_status", arpStatus, sm->status());
  } else {
    arpTableSm_ = Mav::makeObject<ArpTableSm>(activityConfig, intfStatusDir, ipMib, arpStatus);
  }
  return arpTableSm_;
}

Mav::Ptr<IpRouteTableSm> Root::ipRouteTableSmIs(
    Mav::Ptr<Mav::ActivityConfig> const& activityConfig, Mav::Ptr<IpForwardMib> const& ipForwardMib,
    Mav::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir,
    Mav::Ptr<Pondo::Fib::RouteStatus const> const& routeStatus,
    Mav::Ptr<Pondo::Fib::ForwardingStatus const> const& forwardingStatus,
    Mav::Ptr<Mav::Clock const> const& clock) {
  if (auto const& sm = ipRouteTableSm_) {
    Mav::checkConstructorParameter("_activityConfig", activityConfig, sm->activityConfig());
    Mav::checkConstructorParameter("_ipForwardMib", ipForwardMib, sm->ipForwardMib());
    Mav::checkConstructorParameter("_intfStatusDir", intfStatusDir, sm->intfStatusDir());
    Mav::checkConstructorParameter("_routeStatus", routeStatus, sm->routeStatus());
    Mav::checkConstructorParameter("_forwardingStatus", forwardingStatus, sm->forwardingStatus());
    Mav::checkConstructorParameter("_clock", clock, sm->clock());
  } else {
    ipRouteTableSm_ = Mav::makeObject<IpRouteTableSm>(activityConfig, ipForwardMib, intfStatusDir,
                                                      routeStatus, forwardingStatus, clock);
  }
  return ipRouteTableSm_;
}

Mav::Ptr<Ip6RouteTableSm> Root::ip6RouteTableSmIs(
    Mav::Ptr<Mav::ActivityConfig> const& activityConfig, Mav::Ptr<IpForwardMib> const& ipForwardMib,
    Mav::Ptr<Pondo::Fib::Route6Status const> const& routeStatus,
    Mav::Ptr<Pondo::Fib::ForwardingStatus const> const& forwardingStatus,
    Mav::Ptr<Mav::Clock const> const& clock) {
  if (auto const& sm = ip6RouteTableSm_) {
    Mav::checkConstructorParameter("_activityConfig", activityConfig, sm->activityConfig());
    Mav::checkConstructorParameter("_ipForwardMib", ipForwardMib, sm->ipForwardMib());
    Mav::checkConstructorParameter("_routeStatus", routeStatus, sm->routeStatus());
    Mav::checkConstructorParameter("_forwardingStatus", forwardingStatus, sm->forwardingStatus());
    Mav::checkConstructorParameter("_clock", clock, sm->clock());
  } else {
    ip6RouteTableSm_ = Mav::makeObject<Ip6RouteTableSm>(activityConfig, ipForwardMib, routeStatus,
                                                        forwardingStatus, clock);
  }
  return ip6RouteTableSm_;
}

std::span<std::string_view const> Root::attributeNames() const {
  static constexpr std::array<std::string_view, 12> names{
      "ipConfig",      "ipStatus",     "ip6Config",      "ip6Status",
      "intfStatusDir", "arpStatus",    "ipMib",          "ipAddressTableSm",
      "arpTableSm",    "ipForwardMib", "ipRouteTableSm", "ip6RouteTableSm"};
  return names;
}

Mav::Ptr<Root> RootIs(Mav::Name name) { return Mav::makeObject<Root>(std::move(name)); }

Mav::Ptr<Root> rootFactory(Mav::Name name) { return Mav::validPtr(RootIs(std::move(name))); }

}  // namespace IpSnmp
