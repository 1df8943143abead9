#pragma once
// What the kernel's route protocols (RTPROT_..., linux/rtnetlink.h) are to readers: the route's
// type, and its preference, the administrative distance that routers commonly give the protocol.
//
// The table is iproute2's, cut to what a route type of the tables exists for: RouteView writes the
// types, `kelbasectl load` reads the names. What a manager sees of it is inetCidrRouteProto and
// ipCidrRouteProto (RFC 4292).

#include <array>
#include <cstdint>
#include <string_view>

#include "platform/dovel/routing_values.h"

namespace Kelbase {

struct RouteProtocol {
  std::string_view name;    // of iproute2 (its rt_protos)
  std::uint8_t number = 0;  // rtm_protocol
  Routing::Fib::RouteType type = Routing::Fib::routeTypeOther;
  std::uint8_t preference = 255;
};

/// The others are of type other and have the preference 255.
inline constexpr std::array<RouteProtocol, 11> routeProtocols{{
    {"redirect", 1, Routing::Fib::routeTypeRedirect, 255},  // of an ICMP redirect (RFC 4861, 4.5)
    {"kernel", 2, Routing::Fib::routeTypeConnected, 0},
    {"boot", 3, Routing::Fib::routeTypeStatic, 1},
    {"static", 4, Routing::Fib::routeTypeStatic, 1},
    {"dhcp", 16, Routing::Fib::routeTypeDhcp, 254},
    {"babel", 42, Routing::Fib::routeTypeBabel, 100},
    {"bgp", 186, Routing::Fib::routeTypeBgp, 20},
    {"isis", 187, Routing::Fib::routeTypeIsIs, 115},
    {"ospf", 188, Routing::Fib::routeTypeOspf, 110},
    {"rip", 189, Routing::Fib::routeTypeRip, 120},
    {"eigrp", 192, Routing::Fib::routeTypeEigrp, 90},
}};

/// By number, because each route that is written is asked for twice: an index and no search.
inline constexpr auto numberedProtocols = [] {
  std::array<RouteProtocol, 256> result{};
  for (auto const& known : routeProtocols) result.at(known.number) = known;
  return result;
}();

inline RouteProtocol const& routeProtocol(std::uint8_t number) {
  return numberedProtocols.at(number);
}

}  // namespace Kelbase
