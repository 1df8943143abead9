#pragma once
// IPv4 forwarding (net.ipv4.conf.all.forwarding), mounted at "Kelbase/routing/config" while it is
// known. An entity that exists holds the published value, never a default.

#include "platform/state/entities/routing_flag.h"

namespace Routing {

class Config : public State::RoutingFlag<Config> {
 public:
  static constexpr std::string_view path = "Kelbase/routing/config";
  static constexpr std::string_view type = "Routing::Config";

  explicit Config(Mav::Name name = "config") : RoutingFlag(std::move(name)) {}

  std::string_view typeName() const override { return type; }
};

}  // namespace Routing
