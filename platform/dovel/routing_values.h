#pragma once
// The values of a route, as the forwarding table gives them. They stand here because the publisher
// writes them, the agent's state machines read them and the tables hold them.

#include <cstdint>

#include "platform/mav/enumeration.h"
#include "platform/mav/number_value.h"

namespace Routing {

/// The kernel's priority of a route (RTA_PRIORITY). The smaller one wins. Of IPv4 and IPv6 alike,
/// though the defaults differ: 0 and 1024.
class RouteMetric : public Mav::NumberValue<RouteMetric, std::uint32_t> {
 public:
  using NumberValue::NumberValue;
};

/// The administrative distance of a route's protocol, as routers usually have it. The smaller one
/// wins; the kernel knows nothing of it. kelbased gives it by the route's protocol
/// (kelbase/model/route_protocols.h).
class RoutePreference : public Mav::NumberValue<RoutePreference, std::uint8_t> {
 public:
  using NumberValue::NumberValue;
};

namespace Fib {

/// Where a route comes from. Routes of the first four types carry no traffic, and
/// `ipCidrRouteTable` has none of them. The numbers are part of the shared tables: they never
/// change their meaning.
// clang-format off
MAV_ENUM(RouteType,
         (routeTypeUnknown, 0),
         (routeTypeBlackhole, 1),
         (routeTypeUnreachable, 2),
         (routeTypeProhibit, 3),
         (routeTypeStatic, 4),
         (routeTypeOther, 5),
         (routeTypeRip, 6),
         (routeTypeConnected, 7),
         (routeTypeIsIs, 8),
         (routeTypeEigrp, 9),
         (routeTypeBabel, 10),
         (routeTypeOspf, 11),
         (routeTypeOspfInterArea, 12),
         (routeTypeOspfExternal1, 13),
         (routeTypeOspfExternal2, 14),
         (routeTypeOspfNssaExternal1, 15),
         (routeTypeOspfNssaExternal2, 16),
         (routeTypeBgp, 17),
         (routeTypeInternalBgp, 18),
         (routeTypeDhcp, 19),
         (routeTypeRedirect, 20))
// clang-format on

/// Whether it refuses what is sent to it, and tells the sender or not.
constexpr bool isRefusal(RouteType type) {
  return type == routeTypeBlackhole || type == routeTypeUnreachable || type == routeTypeProhibit;
}

}  // namespace Fib
}  // namespace Routing
