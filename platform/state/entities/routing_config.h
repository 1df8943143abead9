#pragma once
// Whether the machine forwards packets, by IP version: net.ipv4.conf.all.forwarding, mounted at
// "Kelbase/routing/config", and net.ipv6.conf.all.forwarding, at "Kelbase/routing6/config", which
// is false on a kernel without IPv6. Each is mounted while it is known: an entity that exists holds
// the published value, never a default.

#include "platform/state/entities/routing_flag.h"

namespace Routing {

/// IPv4's. Handlers find it by its path, and test its class.
class Config : public State::RoutingFlag<Config> {
 public:
  /// Where handlers look for it.
  static constexpr std::string_view path = "Kelbase/routing/config";

  explicit Config(Mav::Name name = "config") : RoutingFlag(std::move(name)) {}
};

}  // namespace Routing

namespace Routing6 {

/// IPv6's.
class Config : public State::RoutingFlag<Config> {
 public:
  static constexpr std::string_view path = "Kelbase/routing6/config";

  explicit Config(Mav::Name name = "config") : RoutingFlag(std::move(name)) {}
};

}  // namespace Routing6
