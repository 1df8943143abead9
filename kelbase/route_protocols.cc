#include "kelbase/route_protocols.h"

#include <array>

#include "kelbase/ctl_route_protocol.h"

namespace Kelbase {
namespace {

using Numbered = std::array<RouteProtocol, 256>;

constexpr Numbered byNumber() {
  Numbered result{};
  for (auto& row : result) row = {Routing::Fib::routeTypeOther, Routing::RoutePreference(255)};
  for (auto const& known : Ctl::routeProtocols) {
    result.at(known.number) = {known.routeType, Routing::RoutePreference(known.preference)};
  }
  return result;
}

constexpr Numbered numbered = byNumber();

}  // namespace

RouteProtocol routeProtocol(std::uint8_t protocol) { return numbered.at(protocol); }

}  // namespace Kelbase
