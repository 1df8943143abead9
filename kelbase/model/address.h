#pragma once
// An address of a link, as the kernel tells it: plain values, made by netlink's decoders or from a
// file, kept by OnLinks. Lifetimes are not among them: the kernel tells when an address is
// deprecated, and when it goes (net/ipv6/addrconf.c, addrconf_verify_rtnl).
//
// The two differ as the kernel has them: an IPv4 address may stand on a link several times, an IPv6
// address once.

#include <compare>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "kelbase/model/family.h"
#include "kelbase/model/on_links.h"
#include "platform/dovel/intf_id.h"
#include "platform/dovel/ip6_addr.h"
#include "platform/dovel/ip_addr.h"

namespace Kelbase {

struct Address4 {
  static constexpr std::string_view kind = "IPv4 address";
  static constexpr std::string_view kinds = "IPv4 addresses";
  /// The kernel may have an address with several lengths and peers (net/ipv4/devinet.c,
  /// __inet_insert_ifa).
  struct Key {
    Dovel::IpAddr local;
    std::uint8_t length = 0;
    Dovel::IpAddr peer;  // `local` where there is none
    auto operator<=>(Key const&) const = default;
  };
  struct State {
    Dovel::IntfId label;
    // Another address of the same network was there first (IFA_F_SECONDARY): the network's route is
    // that one's.
    bool isSecondary = false;
    bool makesRoute = true;  // to its network: not with IFA_F_NOPREFIXROUTE
    bool operator==(State const&) const = default;
  };

  std::int32_t link = 0;
  Key key;
  State state;
  Dovel::IpAddr const& address() const { return key.local; }
};

/// The kernel removes the IPv6 addresses of a link that goes down, and says so. With
/// net.ipv6.conf.*.keep_addr_on_down they stay, and are tentative again without a message until the
/// link is up and duplicate detection has begun (net/ipv6/addrconf.c, addrconf_ifdown).
struct Address6 {
  static constexpr std::string_view kind = "IPv6 address";
  static constexpr std::string_view kinds = "IPv6 addresses";
  using Key = Dovel::Ip6Addr;
  struct State {
    std::uint8_t length = 0;
    Dovel::Ip6Addr peer;        // the address itself where there is none
    bool isTentative = false;   // not yet known to be unique (RFC 4862 section 5.4)
    bool hasFailed = false;     // known not to be unique
    bool isDeprecated = false;  // RFC 4862 section 5.5.4
    bool hasEnd = false;        // its time is limited; no row shows it (SilentChanges)
    bool operator==(State const&) const = default;
  };

  std::int32_t link = 0;
  Key key;
  State state;
  Dovel::Ip6Addr const& address() const { return key; }
};

using Addresses4 = OnLinks<Address4>;
using Addresses6 = OnLinks<Address6>;

/// Address4 of Ip4, Address6 of Ip6.
template <class Ip>
using AddressOf = std::conditional_t<Ip::version == IpVersion::v4, Address4, Address6>;

}  // namespace Kelbase
