#pragma once
// IPv6 forwarding (net.ipv6.conf.all.forwarding), mounted at "Kelbase/routing6/config" while it is
// known; false on a kernel without IPv6. An entity that exists holds the published value.

#include "platform/state/entities/routing_flag.h"

namespace Routing6 {

class Config : public State::RoutingFlag<Config> {
 public:
  static constexpr std::string_view path = "Kelbase/routing6/config";
  static constexpr std::string_view type = "Routing6::Config";

  explicit Config(Mav::Name name = "config") : RoutingFlag(std::move(name)) {}

  std::string_view typeName() const override { return type; }
};

}  // namespace Routing6
