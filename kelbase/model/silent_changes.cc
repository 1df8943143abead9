#include "kelbase/model/silent_changes.h"

#include <utility>

namespace Kelbase {
namespace {

/// As fib_netdev_event() sees it.
bool hasCarrier(Link const& link) { return link.isRunning || link.hasCarrier; }

}  // namespace

template <class Ip>
SilentChanges<Ip>::SilentChanges(Links& links, Addresses& addresses, Nexthops& nexthops,
                                 NextHopSets const& sets, Hint hint)
    : addresses_(addresses), sets_(sets), hint_(std::move(hint)) {
  links.observerIs(*this);
  // A removal is told after it was made: isOn() says what is left.
  addresses.observerIs(*this);
  nexthops.observerIs(*this);
}

/// Of a link that is heard of for the first time nothing is known: it may have fallen, or risen.
template <class Ip>
void SilentChanges<Ip>::onLink(Link const* before, Link const& now) {
  // What falls takes routes through the link along. What rises can only revive next hops that a
  // dump has listed as dead.
  bool const wentDown = (!before || before->isUp) && !now.isUp;
  bool const lostCarrier = (!before || hasCarrier(*before)) && !hasCarrier(now);
  // IPv6 leaves the link (net/ipv6/addrconf.c, addrconf_notify), of which an address tells only
  // where there was one.
  bool const tooSmall =
      Ip::version == IpVersion::v6 && (!before || before->fitsIp6) && !now.fitsIp6;
  // Whether the master is a VRF or a bridge is not looked up: a hint too many costs a dump, and one
  // too few leaves a route that is gone.
  bool const joined = (before ? before->master : 0) != now.master;
  if (wentDown || lostCarrier || tooSmall || joined) return fell(now.index);
  if (isReplay_ && !(now.isUp && hasCarrier(now)) && (hasReplayedObject_ || usesLink(now.index))) {
    hint_(false);
  }
  // A link that is told as it was may have had no carrier for a moment in between: a next hop that
  // was made then is dead until the kernel has looked (net/core/link_watch.c), and tells nothing
  // else.
  bool const isOther = !before || *before != now;
  hintIf((isOther || (now.isUp && hasCarrier(now))) && dead_.contains(now.index));
}

/// One link's setting, or that of all: either turns it on (IN_DEV_IGNORE_ROUTES_WITH_LINKDOWN). Of
/// IPv6 that of all sets each one's (net/ipv6/addrconf.c, addrconf_fixup_linkdown). Which links
/// newLinks has reached the kernel does not tell.
template <class Ip>
void SilentChanges<Ip>::ignoresLinkdownIs(std::int32_t link, bool on) {
  // The first word on a setting counts as a change: what it was before is not known.
  auto const [entry, isNew] = ignores_.try_emplace(link, on);
  if (std::exchange(entry->second, on) == on && !isNew) return;
  bool const isOfMany = link == allLinks || link == newLinks;
  hintIf(isOfMany ? sets_.size() > 0 || !dead_.empty() : usesLink(link));
}

template <class Ip>
void SilentChanges<Ip>::onObject(Address const& address) {
  if constexpr (Ip::version == IpVersion::v6) {
    if (address.state.hasEnd) {
      limited_.insert(address.link);
      return hintIf(usesLink(address.link));
    }
  }
  // The kernel revives the link's next hops with it (fib_inetaddr_event calls fib_sync_up).
  hintIf(dead_.contains(address.link));
}

template <class Ip>
void SilentChanges<Ip>::onObjectGone(Address const& address) {
  bool const uses = usesLink(address.link);
  // The last address of a link takes all routes through it along (fib_inetaddr_event,
  // fib_disable_ip).
  if (uses && !addresses_.isOn(address.link)) return hint_(true);
  if constexpr (Ip::version == IpVersion::v4) {
    if (sources_.isPreferred(address)) return hint_(true);
  } else {
    // That of a limited one leaves the route as it is.
    if (uses && !address.state.hasEnd && limited_.contains(address.link)) return hint_(true);
  }
  // The model's addresses come from a dump that may be newer than this removal: another address may
  // only seem to be left.
  if (uses && isReplay_) hint_(false);
}

template <class Ip>
void SilentChanges<Ip>::routeIs(ListedRoute<Ip> const& route) {
  // Stays until a dump leaves it out, whatever messages say: a link too many is a dump too many.
  for (auto const link : route.deadLinks) dead_[link] = dump_;
  if (isReplay_ && route.object != 0) hasReplayedObject_ = true;
  if constexpr (Ip::version == IpVersion::v4) sources_.routeIs(route);
}

template <class Ip>
void SilentChanges<Ip>::dumpBegin() {
  sources_.dumpBegin();
  ++dump_;
  // The dump may be there because messages were lost, one about a setting among them.
  ignores_.clear();
}

template <class Ip>
void SilentChanges<Ip>::dumpEnd(bool whole) {
  sources_.dumpEnd(whole);
  if (whole) absl::erase_if(dead_, [this](auto const& entry) { return entry.second != dump_; });
}

template class SilentChanges<Ip4>;
template class SilentChanges<Ip6>;

}  // namespace Kelbase
