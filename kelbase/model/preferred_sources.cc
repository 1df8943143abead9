#include "kelbase/model/preferred_sources.h"

namespace Kelbase {
namespace {

constexpr std::uint8_t kernelProtocol = 2;  // RTPROT_KERNEL

}  // namespace

/// By another route than the one that the kernel says it removes: that of a primary address's
/// network, unless it was told to make none.
bool PreferredSources::isPreferred(Address4 const& address) const {
  auto const found = preferences_.find(address.key.local);
  if (found == preferences_.end()) return false;
  auto const& only = found->second.only;
  Dovel::IpAddr const network = address.key.peer.masked(address.key.length);
  // On the loopback the network of an address is local, and no route of table main leads to it
  // (fib_add_ifaddr).
  bool const isConnected = !address.state.isSecondary && address.state.makesRoute &&
                           address.link != loopback && network != address.key.local;
  return !isWhole_ || !isConnected || !only || only->link != address.link ||
         only->prefix != Dovel::Prefix(network, address.key.length);
}

/// As the kernel makes the route to an address's network (net/ipv4/fib_frontend.c, fib_magic). Any
/// other that prefers the address goes in silence.
std::optional<PreferredSources::Connected> PreferredSources::connectedBy(
    ListedRoute<Ip4> const& route) {
  if (route.protocol != kernelProtocol || route.kind != RouteKind::unicast || route.tos != 0 ||
      route.object != 0 || route.hops.size() != 1 || !route.hops[0].nextHop.isUnspecified()) {
    return std::nullopt;
  }
  return Connected{route.prefix, route.hops[0].ifIndex, route.metric, route.identity};
}

/// A route that goes takes nothing back here: until the next dump there may be a hint too many.
void PreferredSources::routeIs(ListedRoute<Ip4> const& route) {
  if (!route.preferredSource) return;
  auto const connected = connectedBy(route);
  // An address that no route has preferred before has an entry of dump 0, which is no dump's number
  // once one has begun.
  auto& preference = preferences_[*route.preferredSource];
  if (preference.dump != dump_) {
    // The first since that dump began: what an earlier one listed counts no more.
    preference = {connected, dump_};
  } else if (preference.only != connected) {
    // Of two different routes the address's own is at most one: the other goes in silence.
    preference.only.reset();
  }
}

void PreferredSources::dumpBegin() {
  isWhole_ = false;
  // Entries of earlier dumps stay until this one has ended whole: a hint too many meanwhile.
  ++dump_;
}

void PreferredSources::dumpEnd(bool whole) {
  isWhole_ = whole;
  if (!whole) return;
  absl::erase_if(preferences_, [this](auto const& entry) { return entry.second.dump != dump_; });
}

}  // namespace Kelbase
