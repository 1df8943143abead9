#include "agent/route_refusal.h"

#include <algorithm>
#include <array>
#include <utility>

namespace IpSnmp {

namespace {

using Routing::Fib::RouteType;

constexpr std::array<std::pair<std::uint8_t, RouteType>, 9> protocols{{
    {0, Routing::Fib::routeTypeConnected},
    {1, Routing::Fib::routeTypeStatic},
    {20, Routing::Fib::routeTypeBgp},
    {90, Routing::Fib::routeTypeEigrp},
    {100, Routing::Fib::routeTypeBabel},
    {110, Routing::Fib::routeTypeOspf},
    {115, Routing::Fib::routeTypeIsIs},
    {120, Routing::Fib::routeTypeRip},
    {254, Routing::Fib::routeTypeDhcp},
}};

RouteType protocolOf(Routing::RoutePreference const& preference) {
  auto const* const found =
      std::find_if(protocols.begin(), protocols.end(),
                   [&](auto const& protocol) { return protocol.first == preference.value(); });
  return found == protocols.end() ? Routing::Fib::routeTypeOther : found->second;
}

}  // namespace

std::optional<InetCidrRouteRow> refusalRow(Pondo::Fib::Route const& route) {
  switch (route.routeType) {
    case Routing::Fib::routeTypeBlackhole:
      return InetCidrRouteRow{0, route.metric, inetCidrRouteTypeBlackhole,
                              protocolOf(route.preference)};
    case Routing::Fib::routeTypeUnreachable:
    case Routing::Fib::routeTypeProhibit:
      return InetCidrRouteRow{0, route.metric, inetCidrRouteTypeReject,
                              protocolOf(route.preference)};
    default:
      return std::nullopt;
  }
}

}  // namespace IpSnmp
