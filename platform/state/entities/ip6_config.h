#pragma once
// The IPv6 addresses as configured.

#include "platform/state/entities/ip6_intf_addresses.h"

namespace Ip6 {

class IntfConfig : public State::Ip6IntfAddresses<IntfConfig> {
 public:
  using Ip6IntfAddresses::Ip6IntfAddresses;

  std::string_view typeName() const override { return "Ip6::IntfConfig"; }
};

class Config : public State::Ip6IntfDir<Config, IntfConfig> {
 public:
  explicit Config(Mav::Name name = "config") : Ip6IntfDir(std::move(name)) {}

  std::string_view typeName() const override { return "Ip6::Config"; }
};

}  // namespace Ip6
