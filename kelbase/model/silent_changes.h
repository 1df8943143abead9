#pragma once
// When the kernel takes routes away, or declares next hops dead or alive, without a word: it tells
// of what they hang on alone (net/ipv4/fib_frontend.c, fib_disable_ip, fib_netdev_event and
// fib_flush; net/ipv4/fib_semantics.c, fib_sync_down_dev and fib_sync_up; net/ipv6/route.c,
// fib6_ifdown, fib6_ifup and rt6_sync_down_dev):
//
//   a link goes down, is deleted, or joins a VRF     the routes through it, its nexthop objects;
//                                                    of routes with other next hops these alone
//   a link loses its carrier                         its nexthop objects, and their routes
//                                                    (net/ipv4/nexthop.c, nh_netdev_event); its
//                                                    next hops, where it has
//                                                    ignore_routes_with_linkdown
//   a link comes up, gets its carrier, an address    its next hops are alive again
//   ignore_routes_with_linkdown is set or not        the next hops through links without carrier
//   an IPv4 address goes                             the routes that prefer it as their source
//   a link's last address goes                       all through the link
//   IPv6 is disabled on a link                       of IPv6 all through the link
//   an IPv6 address is limited in time, or goes      the route to its network has an end
//   and leaves one that is                           (net/ipv6/addrconf.c, modify_prefix_route and
//                                                    cleanup_prefix_route)
//   a link's MTU falls below 1280                    of IPv6 all through the link
//   a nexthop object goes                            its routes
//
// Of IPv6 a route with one next hop goes with a message, unless net.ipv6.route.
// skip_notify_on_dev_down is set; siblings die in silence.
//
// That IPv6 is disabled on a link without addresses shows in the link's multicast route alone.
//
// The message comes first, the change after it, or the other way around (disable_ipv6), both under
// the kernel's RTNL lock: who has waited for that lock sees the end of it.
//
// The model may be ahead of the message that is taken: while messages are replayed over a newer
// dump, an address that is gone may hide behind one that came after it, a link that fell may be
// known as fallen, and a nexthop object as what it became after its routes had gone with it. Then
// any of these casts doubt. Asked by Routes alone. One thread.

#include <cstdint>
#include <functional>

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>

#include "kelbase/model/address.h"
#include "kelbase/model/next_hop_sets.h"
#include "kelbase/model/preferred_sources.h"
#include "kelbase/model/route.h"

namespace Kelbase {

/// In the place of a link's index: all of them, and those to come, whose settings IPv4 gives as
/// well to each link that has never had an address (net/ipv4/devinet.c, devinet_copy_dflt_conf).
inline constexpr std::int32_t allLinks = -1;
inline constexpr std::int32_t newLinks = -2;

/// `Ip`: Ip4 or Ip6.
template <class Ip>
class SilentChanges : private Links::Observer,
                      private OnLinks<AddressOf<Ip>>::Observer,
                      private Nexthops::Observer {
 public:
  using Address = AddressOf<Ip>;
  using Addresses = OnLinks<Address>;

  /// Routes or nexthop objects that are known may be gone, or going, or next hops of theirs be
  /// alive no more, or again. `surely` false: only if a replayed message is as old as it looks.
  using Hint = std::function<void(bool surely)>;

  /// All must outlive it.
  SilentChanges(Links& links, Addresses& addresses, Nexthops& nexthops, NextHopSets const& sets,
                Hint hint);

  /// Whether next hops through the link count while it has no carrier: its
  /// ignore_routes_with_linkdown, or that of allLinks or newLinks. A change is a hint.
  void ignoresLinkdownIs(std::int32_t link, bool on);

  /// IPv6 has come to the link, or has left it.
  void ip6Is(std::int32_t link, bool on) { hintIf(on ? dead_.contains(link) : usesLink(link)); }

  /// The kernel has this route.
  void routeIs(ListedRoute<Ip> const& route);

  /// Routes are listed anew from here on.
  void dumpBegin();
  /// `whole`: nothing was left out.
  void dumpEnd(bool whole);
  /// From here on the messages may be older than what the model has, or are not any more.
  void replayIs(bool on) {
    isReplay_ = on;
    hasReplayedObject_ = false;
  }

 private:
  void onLink(Link const* before, Link const& now) override;
  void onLinkGone(std::int32_t link) override {
    limited_.erase(link);
    fell(link);
  }
  void onObject(Address const& address) override;
  void onObjectGone(Address const& address) override;
  void onNexthop(std::uint32_t /*id*/) override {}
  void onNexthopGone(std::uint32_t id) override { hintIf(sets_.usesObject(id, Ip::version)); }

  void hintIf(bool changed) const {
    if (changed) hint_(true);
  }
  void fell(std::int32_t link) const {
    if (usesLink(link)) return hint_(true);
    if (hasReplayedObject_) hint_(false);
  }
  /// IPv6 routes that refuse hang on the loopback (net/ipv6/route.c, ip6_route_info_create).
  bool usesLink(std::int32_t link) const {
    return sets_.usesLink(link, Ip::version) || dead_.contains(link) ||
           (Ip::version == IpVersion::v6 && link == loopback);
  }

  Addresses const& addresses_;
  NextHopSets const& sets_;
  Hint const hint_;
  PreferredSources sources_;                               // of IPv4
  absl::flat_hash_map<std::int32_t, std::uint64_t> dead_;  // by link with dead next hops: the dump
  absl::flat_hash_map<std::int32_t, bool> ignores_;        // by link: the setting, once heard of
  absl::flat_hash_set<std::int32_t> limited_;  // links that have had IPv6 addresses with an end
  std::uint64_t dump_ = 0;
  bool isReplay_ = false;
  bool hasReplayedObject_ = false;  // in this replay a route over one was told
};

extern template class SilentChanges<Ip4>;
extern template class SilentChanges<Ip6>;

}  // namespace Kelbase
