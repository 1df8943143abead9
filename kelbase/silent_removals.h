#pragma once
// When the kernel takes IPv4 routes away without a word: it removes them with what they hang on,
// and tells of that alone (net/ipv4/fib_frontend.c, fib_disable_ip and fib_flush):
//
//   a link goes down, is deleted, or joins a VRF     the routes through it, its nexthop objects
//   a link loses its carrier                         its nexthop objects, and their routes
//                                                    (net/ipv4/nexthop.c, nh_netdev_event)
//   an address goes                                  the routes that prefer it as their source;
//   with
//                                                    the link's last, all through the link
//   a nexthop object goes                            its routes
//
// The message comes first, the removal after it, both under the kernel's RTNL lock: who has waited
// for that lock sees the end of it. Fed with notifications by RouteSource. One thread.

#include <cstdint>

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>

#include "kelbase/hop_sets.h"
#include "kelbase/netlink_message.h"

namespace Kelbase {

class SilentRemovals {
 public:
  /// `sets` must outlive it.
  explicit SilentRemovals(HopSets const& sets) : sets_(sets) {}

  static bool takes(std::uint16_t messageType);

  /// True when routes or nexthop objects that are known may be gone, or going, for this.
  bool hints(NetlinkMessage const& message);

  /// A route has this preferred source.
  void preferredSourceIs(Dovel::IpAddr const& address) { preferredSources_.insert(address); }
  /// Forgets which addresses are preferred: a dump lists them anew.
  void preferredSourcesDel() { preferredSources_.clear(); }

 private:
  struct Link {
    bool isUp = true;  // administratively
    bool hasCarrier = true;
    std::uint32_t master = 0;
  };

  bool linkHints(NetlinkMessage const& message);
  bool addressHints(NetlinkMessage const& message) const;

  HopSets const& sets_;
  absl::flat_hash_map<std::int32_t, Link> links_;  // by index; those that were ever heard of
  absl::flat_hash_set<Dovel::IpAddr> preferredSources_;
};

}  // namespace Kelbase
