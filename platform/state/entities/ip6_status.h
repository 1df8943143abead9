#pragma once
// The IPv6 addresses in operation: of links that are up, neither tentative nor failed (RFC 4862).

#include "platform/state/entities/ip6_intf_addresses.h"

namespace Ip6 {

class IntfStatus : public State::Ip6IntfAddresses<IntfStatus> {
 public:
  using Ip6IntfAddresses::Ip6IntfAddresses;

  std::string_view typeName() const override { return "Ip6::IntfStatus"; }
};

class Status : public State::Ip6IntfDir<Status, IntfStatus> {
 public:
  explicit Status(Mav::Name name = "status") : Ip6IntfDir(std::move(name)) {}

  std::string_view typeName() const override { return "Ip6::Status"; }
};

}  // namespace Ip6
