#pragma once
// When the kernel takes IPv4 routes away without a word: it removes them with what they hang on,
// and tells of that alone (net/ipv4/fib_frontend.c, fib_disable_ip and fib_flush):
//
//   a link goes down, is deleted, or joins a VRF     the routes through it, its nexthop objects
//   a link loses its carrier                         its nexthop objects, and their routes
//                                                    (net/ipv4/nexthop.c, nh_netdev_event)
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

#include "kelbase/netlink/netlink_message.h"
#include "kelbase/netlink/route_message.h"
#include "kelbase/publish/hop_sets.h"

namespace Kelbase {

class SilentRemovals {
 public:
  /// `sets` must outlive it.
  explicit SilentRemovals(HopSets const& sets) : sets_(sets) {}

  static bool takes(std::uint16_t messageType);

  /// True when routes or nexthop objects that are known may be gone, or going, for this.
  bool hints(NetlinkMessage const& message);

  /// The kernel has this route.
  void routeIs(RouteMessage const& route);

  /// Addresses and routes are listed anew from here on.
  void dumpBegin();
  /// `whole`: nothing was left out.
  void dumpEnd(bool whole);

 private:
  struct Link {
    bool isUp = true;  // administratively
    bool hasCarrier = true;
    std::uint32_t master = 0;
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
  bool isPreferred(Address const& address, std::uint32_t flags) const;
  static std::optional<Connected> connectedBy(RouteMessage const& route);

  HopSets const& sets_;
  absl::flat_hash_map<std::int32_t, Link> links_;  // by index; those that were ever heard of
  Addresses addresses_;                            // that are there, but for some in a dump
  absl::flat_hash_map<Dovel::IpAddr, Preference> preferences_;
  std::uint64_t dump_ = 0;
  bool isWhole_ = false;  // the last dump left nothing out
};

}  // namespace Kelbase
