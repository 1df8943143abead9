#pragma once
// What the kernel's route protocols (RTPROT_..., linux/rtnetlink.h) are to readers: the route's
// type, and its preference, the administrative distance that routers commonly give the protocol.

#include <cstdint>

#include "platform/dovel/routing_values.h"

namespace Kelbase {

struct RouteProtocol {
  Routing::Fib::RouteType type;
  Routing::RoutePreference preference;
};

/// As kelbasectl knows them; for any other number: type other, preference 255.
RouteProtocol routeProtocol(std::uint8_t protocol);

}  // namespace Kelbase
