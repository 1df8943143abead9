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
// The message comes first, the change after it, both under the kernel's RTNL lock: who has waited
// for that lock sees the end of it. The connected route of an address prefers it too, but goes with
// a message of its own (fib_del_ifaddr).
//
// The model's addresses may be ahead of the message that is taken: while messages are replayed over
// a newer dump, one that is gone may hide behind one that came after it. Then any that goes casts
// doubt. What a dump of routes leaves out makes for a hint too many, never for one too few. Asked
// by Routes alone. One thread.

#include <cstdint>
#include <functional>
#include <optional>

#include <absl/container/flat_hash_map.h>

#include "kelbase/model/address.h"
#include "kelbase/model/next_hop_sets.h"
#include "kelbase/model/route.h"

namespace Kelbase {

class SilentChanges : private Links::Observer,
                      private Addresses4::Observer,
                      private Nexthops::Observer {
 public:
  /// Routes or nexthop objects that are known may be gone, or going, or next hops of theirs be
  /// alive no more, or again. `surely` false: only if a replayed message is as old as it looks.
  using Hint = std::function<void(bool surely)>;

  /// All must outlive it.
  SilentChanges(Links& links, Addresses4& addresses, Nexthops& nexthops, NextHopSets const& sets,
                Hint hint);

  /// Whether next hops through the link count while it has no carrier: its
  /// ignore_routes_with_linkdown, or that of all links (allLinks).
  void ignoresLinkdownIs(std::int32_t link, bool on);
  static constexpr std::int32_t allLinks = -1;

  /// The kernel has this route.
  void routeIs(ListedRoute const& route);

  /// Routes are listed anew from here on.
  void dumpBegin();
  /// `whole`: nothing was left out.
  void dumpEnd(bool whole);
  /// From here on the messages may be older than what the model has, or are not any more.
  void replayIs(bool on) { isReplay_ = on; }

 private:
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

  void onLink(Link const* before, Link const& now) override;
  void onLinkGone(std::int32_t link) override { hintIf(usesLink(link)); }
  void onObject(Address4 const& address) override;
  void onObjectGone(Address4 const& address) override;
  void onNexthop(std::uint32_t /*id*/) override {}
  void onNexthopGone(std::uint32_t id) override { hintIf(sets_.usesObject(id)); }

  void hintIf(bool changed) const {
    if (changed) hint_(true);
  }
  bool usesLink(std::int32_t link) const { return sets_.usesLink(link) || dead_.contains(link); }
  bool isPreferred(Address4 const& address) const;
  static std::optional<Connected> connectedBy(ListedRoute const& route);

  Addresses4 const& addresses_;
  NextHopSets const& sets_;
  Hint const hint_;
  absl::flat_hash_map<Dovel::IpAddr, Preference> preferences_;
  absl::flat_hash_map<std::int32_t, std::uint64_t> dead_;  // by link with dead next hops: the dump
  absl::flat_hash_map<std::int32_t, bool> ignores_;        // by link: the setting, once heard of
  std::uint64_t dump_ = 0;
  bool isWhole_ = false;  // the last dump left nothing out
  bool isReplay_ = false;
};

}  // namespace Kelbase
