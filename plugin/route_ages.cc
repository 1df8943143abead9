#include "plugin/route_ages.h"

#include <algorithm>

#include "platform/mav/time.h"
#include "platform/pondo/environment/errors.h"

namespace OvoSnmp {

namespace {

template <class Status, class Prefix>
std::uint32_t ageOf(Status const& status, Prefix const& prefix) {
  try {
    // One descent in the shared table. All ages of a request are of one snapshot.
    auto const route = status.route(prefix);
    // 0: it was there before the publisher, which cannot know since when.
    if (!route || route->changedAt == 0) return 0;
    return static_cast<std::uint32_t>(std::max(0.0, Mav::bootTime() - route->changedAt));
  } catch (Pondo::ConsistencyException const&) {
    return 0;  // the follower tells in the log why
  }
}

}  // namespace

std::uint32_t RouteAges::age(Dovel::Prefix const& prefix) const { return ageOf(*routes_, prefix); }

std::uint32_t RouteAges::age(Dovel::Ip6Prefix const& prefix) const {
  return ageOf(*routes6_, prefix);
}

}  // namespace OvoSnmp
