#include "kelbase/model/route_protocols.h"

namespace Kelbase {
namespace {

using Numbered = std::array<RouteProtocol, 256>;

// By number, because each route that is written is asked for twice: an index and no search.
constexpr Numbered byNumber() {
  Numbered result{};
  for (auto const& known : routeProtocols) result.at(known.number) = known;
  return result;
}

constexpr Numbered numbered = byNumber();

}  // namespace

RouteProtocol const& routeProtocol(std::uint8_t number) { return numbered.at(number); }

}  // namespace Kelbase
