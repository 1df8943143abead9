#include "kelbase/model/silent_changes.h"

#include <utility>

namespace Kelbase {
namespace {

constexpr std::uint8_t kernelProtocol = 2;  // RTPROT_KERNEL

/// Where the network of an address is local, and no route of table main leads to it
/// (fib_add_ifaddr). In every network namespace (net/core/dev.c).
constexpr std::int32_t loopback = 1;

/// As fib_netdev_event() sees it.
bool hasCarrier(Link const& link) { return link.isRunning || link.hasCarrier; }

}  // namespace

SilentChanges::SilentChanges(Links& links, Addresses4& addresses, Nexthops& nexthops,
                             NextHopSets const& sets, Hint hint)
    : addresses_(addresses), sets_(sets), hint_(std::move(hint)) {
  links.observerIs(*this);
  addresses.observerIs(*this);
  nexthops.observerIs(*this);
}

/// Of a link that is heard of for the first time nothing is known: it may have fallen, or risen.
void SilentChanges::onLink(Link const* before, Link const& now) {
  bool const wentDown = (!before || before->isUp) && !now.isUp;
  bool const lostCarrier = (!before || hasCarrier(*before)) && !hasCarrier(now);
  bool const joined = (before ? before->master : 0) != now.master;
  hintIf(wentDown || lostCarrier || joined ? usesLink(now.index) : dead_.contains(now.index));
}

/// One link's setting, or that of all: either turns it on (IN_DEV_IGNORE_ROUTES_WITH_LINKDOWN).
void SilentChanges::ignoresLinkdownIs(std::int32_t link, bool on) {
  auto const [entry, isNew] = ignores_.try_emplace(link, on);
  if (std::exchange(entry->second, on) == on && !isNew) return;
  hintIf(link == allLinks ? sets_.size() > 0 || !dead_.empty() : usesLink(link));
}

void SilentChanges::onObject(Address4 const& address) { hintIf(dead_.contains(address.link)); }

void SilentChanges::onObjectGone(Address4 const& address) {
  bool const uses = usesLink(address.link);
  if ((uses && !addresses_.isOn(address.link)) || isPreferred(address)) return hint_(true);
  if (uses && isReplay_) hint_(false);
}

/// By another route than the one that the kernel says it removes: that of a primary address's
/// network, unless it was told to make none.
bool SilentChanges::isPreferred(Address4 const& address) const {
  auto const found = preferences_.find(address.key.local);
  if (found == preferences_.end()) return false;
  auto const& only = found->second.only;
  Dovel::IpAddr const network = address.key.peer.masked(address.key.length);
  bool const isConnected = !address.state.isSecondary && address.state.makesRoute &&
                           address.link != loopback && network != address.key.local;
  return !isWhole_ || !isConnected || !only || only->link != address.link ||
         only->prefix != Dovel::Prefix(network, address.key.length);
}

std::optional<SilentChanges::Connected> SilentChanges::connectedBy(ListedRoute const& route) {
  if (route.protocol != kernelProtocol || route.kind != RouteKind::unicast || route.tos != 0 ||
      route.object != 0 || route.hops.size() != 1 || !route.hops[0].nextHop.isUnspecified()) {
    return std::nullopt;
  }
  return Connected{route.prefix, route.hops[0].ifIndex, route.metric, route.identity};
}

void SilentChanges::routeIs(ListedRoute const& route) {
  for (auto const link : route.deadLinks) dead_[link] = dump_;
  if (!route.preferredSource) return;
  auto const connected = connectedBy(route);
  auto& preference = preferences_[*route.preferredSource];
  if (preference.dump != dump_) {
    preference = {connected, dump_};
  } else if (preference.only != connected) {
    preference.only.reset();
  }
}

void SilentChanges::dumpBegin() {
  isWhole_ = false;
  ++dump_;
}

void SilentChanges::dumpEnd(bool whole) {
  isWhole_ = whole;
  if (!whole) return;
  absl::erase_if(dead_, [this](auto const& entry) { return entry.second != dump_; });
  absl::erase_if(preferences_, [this](auto const& entry) { return entry.second.dump != dump_; });
}

}  // namespace Kelbase
