#include "kelbase/model/siblings.h"

#include <algorithm>

namespace Kelbase {
namespace {

bool isSibling(KernelRoute const& route) { return route.identity == Siblings::identity; }

/// Whether a dump has listed siblings among them, or messages that leave as much open.
bool hideOthers(Rivals const& routes) {
  return std::any_of(routes.begin(), routes.end(),
                     [](KernelRoute const& route) { return isSibling(route) && !route.isUniform; });
}

}  // namespace

RouteOutcome Siblings::add(Book& book, Place const& place, KernelRoute route, RouteRank rank,
                           bool tellsAll) const {
  if (rank == RouteRank::listed) {
    // A dump tells the protocol of the first, and its lifetime.
    route.isUniform = route.isUniform && !tellsAll;
    return {book.add(place, route, rank)};
  }
  // Nothing was there for it to join or to stand before, in a replay as well: what came after it is
  // replayed behind it.
  if (rank == RouteRank::only) return {book.add(place, route, rank)};
  auto const rivals = book.rivals(place, route);
  if (rank == RouteRank::replaced) {
    // Those of other links are rivals in the kernel.
    bool const isDoubtful = rivals.size() > 1 || place.prefix().zone() != 0;
    return {book.add(place, route, rank), isDoubtful, hideOthers(rivals)};
  }
  if (isSibling(route)) return join(book, place, route, tellsAll, rivals);
  // Replayed, it may have gone again before the dump, and another be the one that stands.
  bool const isDoubtful = isReplay_ && !rivals.empty();
  return {book.add(place, route, RouteRank::appended), isDoubtful};
}

RouteOutcome Siblings::join(Book& book, Place const& place, KernelRoute route, bool tellsAll,
                            Rivals const& rivals) const {
  // Of several the message does not say which it joins.
  bool const areSeveral = rivals.size() > 1;
  auto const isIt = [&](KernelRoute const& other) {
    return isSibling(other) && (tellsAll || other.hops == route.hops);
  };
  auto const known = std::find_if(rivals.begin(), rivals.end(), isIt);
  if (known != rivals.end()) {
    route.isUniform = route.isUniform && known->isUniform && known->protocol == route.protocol;
    // Siblings go by the protocol of their first, and the new one is their last.
    route.protocol = known->protocol;
    return {book.change(place, *known, route), areSeveral};
  }
  if (std::any_of(rivals.begin(), rivals.end(), isSibling)) {
    // One that is told alone beside siblings joins none (RTF_ADDRCONF), or what is known is old: a
    // dump tells which.
    return {book.add(place, route, RouteRank::beside), true};
  }
  bool const isDoubtful = isReplay_ && !rivals.empty();
  return {book.add(place, route, RouteRank::appended), isDoubtful};
}

RouteOutcome Siblings::remove(Book& book, Place const& place, KernelRoute const& route,
                              bool tellsAll) const {
  auto const rivals = book.rivals(place, route);
  // The kernel told all of them only where all were deleted.
  if (isSibling(route) && !tellsAll) return removeOne(book, place, route, rivals);
  bool const isDoubtful = lookalikes(rivals, route) > 1 || (isReplay_ && rivals.size() > 1);
  return {book.remove(place, route), isDoubtful, hideOthers(rivals)};
}

/// The siblings that `one`, alone, is among; itself first. One that is dead is not listed among
/// them, and is met where none of them is alive.
KernelRoute const* Siblings::withHop(Rivals const& rivals, KernelRoute const& one) const {
  auto const hop = sets_.inlineHops(one.hops);
  // A set that is the one next hop alone is the better answer than one that has it among others.
  KernelRoute const* result = nullptr;
  for (auto const& other : rivals) {
    if (!isSibling(other)) continue;
    if (other.hops == one.hops) return &other;
    auto const hops = sets_.inlineHops(other.hops);
    if (!hop.empty() && std::find(hops.begin(), hops.end(), hop.front()) != hops.end()) {
      result = &other;
    }
  }
  return result;
}

RouteOutcome Siblings::removeOne(Book& book, Place const& place, KernelRoute const& route,
                                 Rivals const& rivals) const {
  auto const* const known = withHop(rivals, route);
  // Gone already, as after a dump that is newer than the message.
  if (!known) return {};
  bool const areSeveral = rivals.size() > 1;
  if (known->hops == route.hops) {
    // Those that differ in what is not kept, their encapsulation, are one next hop here.
    return {book.remove(place, *known), !known->isUniform || (isReplay_ && areSeveral)};
  }
  auto const hop = sets_.inlineHops(route.hops).front();
  std::vector<NextHop> left;
  for (auto const& other : sets_.inlineHops(known->hops)) {
    if (other != hop) left.push_back(other);
  }
  auto now = *known;
  // At least one is left: a set of `hop` alone was removed above.
  now.hops = sets_.inlineSet(left);
  // It may have been the first.
  bool const isOpen = !known->isUniform && route.protocol == known->protocol;
  return {book.change(place, *known, now), areSeveral || isOpen, !known->isUniform};
}

}  // namespace Kelbase
