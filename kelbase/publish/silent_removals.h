#pragma once
// When the kernel takes IPv4 routes away, or declares next hops dead or alive, without a word: it
// tells of what they hang on alone (net/ipv4/fib_frontend.c, fib_disable_ip, fib_netdev_event and
// fib_flush; net/ipv4/fib_semantics.c, fib_sync_down_dev and fib_sync_up):
//
//   a link goes down, is deleted, or joins a VRF     the routes through it, its nexthop objects;
//                                                    of routes with other next hops these alone
//   a link loses its carrier                         its nexthop objects, and their routes
//                                                    (net/ipv4/nexthop.c, nh_netdev_event); its
//                                                    next hops, where it has
//                                                    ignore_routes_with_linkdown
//   a link comes up, gets its carrier, an address    its next hops are alive again
//   ignore_routes_with_linkdown is set or not        the next hops through links without carrier
//   an address goes                                  the routes that prefer it as their source
//   a link's last address goes                       all through the link
//   a nexthop object goes                            its routes
//
// The message comes first, the removal after it, both under the kernel's RTNL lock: who has waited
// for that lock sees the end of it. The connected route of an address prefers it too, but goes with
// a message of its own (fib_del_ifaddr).
//
// A link's addresses are counted, none twice. The dump that lists the routes lists them first: one
// that comes later cannot hide that the last has gone while the routes were listed. What a dump
// leaves out makes for a hint too many, never for one too few. Fed by RouteSource. One thread.

#include <compare>
#include <cstdint>
#include <optional>

#include <absl/container/btree_set.h>
#include <absl/container/flat_hash_map.h>

#include "kelbase/model/route.h"
#include "kelbase/netlink/netlink_message.h"
#include "kelbase/publish/hop_sets.h"

namespace Kelbase {

class SilentRemovals {
 public:
  /// `sets` must outlive it.
  explicit SilentRemovals(HopSets const& sets) : sets_(sets) {}

  static bool takes(std::uint16_t messageType);

  /// True when routes or nexthop objects that are known may be gone, or going, for this, or next
  /// hops of theirs be alive no more, or again.
  bool hints(NetlinkMessage const& message);

  /// The kernel has this route.
  void routeIs(ListedRoute const& route);

  /// Addresses and routes are listed anew from here on.
  void dumpBegin();
  /// `whole`: nothing was left out.
  void dumpEnd(bool whole);

 private:
  struct Link {
    bool isUp = true;  // administratively
    bool isRunning = true;
    bool hasLower = true;  // what it runs over
    std::uint32_t master = 0;
    bool hasCarrier() const { return isRunning || hasLower; }  // to fib_netdev_event
    bool operator==(Link const&) const = default;
  };
  /// Told apart as by the kernel, which may have one with several peers (net/ipv4/devinet.c).
  struct Address {
    std::int32_t link = 0;
    Dovel::IpAddr local;
    Dovel::IpAddr peer;  // `local` where there is none
    unsigned length = 0;
    auto operator<=>(Address const&) const = default;
  };
  using Addresses = absl::btree_set<Address>;
  /// The route to an address's network.
  struct Connected {
    Dovel::Prefix prefix;
    std::int32_t link = 0;
    std::uint32_t metric = 0;
    std::uint32_t identity = 0;
    bool operator==(Connected const&) const = default;
  };
  /// Of the routes that prefer a source.
  struct Preference {
    std::optional<Connected> only;  // there is no other
    std::uint64_t dump = 0;         // the last that mentioned one
  };

  bool linkHints(NetlinkMessage const& message);
  Addresses::const_iterator firstOf(std::int32_t link) const;
  void addressesDel(std::int32_t link);
  bool hasAddress(std::int32_t link) const;
  bool addressHints(NetlinkMessage const& message);
  bool settingHints(NetlinkMessage const& message);
  bool usesLink(std::int32_t link) const { return sets_.usesLink(link) || dead_.contains(link); }
  bool isPreferred(Address const& address, std::uint32_t flags) const;
  static std::optional<Connected> connectedBy(ListedRoute const& route);

  HopSets const& sets_;
  absl::flat_hash_map<std::int32_t, Link> links_;  // by index; those that were ever heard of
  Addresses addresses_;                            // that are there, but for some in a dump
  absl::flat_hash_map<Dovel::IpAddr, Preference> preferences_;
  absl::flat_hash_map<std::int32_t, std::uint64_t> dead_;  // by link with dead next hops: the dump
  absl::flat_hash_map<std::int32_t, bool> ignores_;        // by link: the setting, once heard of
  std::uint64_t dump_ = 0;
  bool isWhole_ = false;  // the last dump left nothing out
};

}  // namespace Kelbase
