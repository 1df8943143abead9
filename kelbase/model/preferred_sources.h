#pragma once
// The addresses that IPv4 routes prefer as their source: when one goes, the kernel takes its routes
// away without a word, but for the connected route of the address, which prefers it too and goes
// with a message of its own (net/ipv4/fib_frontend.c, fib_del_ifaddr). IPv6 routes stay
// (net/ipv6/route.c, rt6_remove_prefsrc).
//
// What a dump of routes leaves out makes for a hint too many, never for one too few. Asked by
// SilentChanges alone. One thread.

#include <cstdint>
#include <optional>

#include <absl/container/flat_hash_map.h>

#include "kelbase/model/address.h"
#include "kelbase/model/route.h"

namespace Kelbase {

class PreferredSources {
 public:
  /// The kernel has this route.
  void routeIs(ListedRoute<Ip4> const& route);
  /// Routes are listed anew from here on.
  void dumpBegin();
  /// `whole`: nothing was left out.
  void dumpEnd(bool whole);

  /// Whether routes go with the address in silence.
  bool isPreferred(Address4 const& address) const;

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

  static std::optional<Connected> connectedBy(ListedRoute<Ip4> const& route);

  absl::flat_hash_map<Dovel::IpAddr, Preference> preferences_;
  std::uint64_t dump_ = 0;
  bool isWhole_ = false;  // the last dump left nothing out
};

}  // namespace Kelbase
