#pragma once
// The versions of IP, and what the templates of the model take of each: Routes<Ip4>,
// RouteBook<Ip6> ...
//
// A template over one of them is a book or a source of that version alone: no value says in each
// route which version it is of.

#include <cstdint>
#include <string_view>

#include "platform/dovel/addr_with_mask.h"
#include "platform/dovel/ip6_prefix.h"
#include "platform/dovel/prefix.h"

namespace Kelbase {

enum class IpVersion : std::uint8_t { v4 = 4, v6 = 6 };

struct Ip4 {
  static constexpr IpVersion version = IpVersion::v4;
  static constexpr std::string_view name = "IPv4";
  using Addr = Dovel::IpAddr;
  /// What routes are filed under.
  using Prefix = Dovel::Prefix;
  /// What the kernel calls the destination of a route: of a link-local one it leaves the zone to
  /// the next hops.
  using Destination = Dovel::Prefix;
};

struct Ip6 {
  static constexpr IpVersion version = IpVersion::v6;
  static constexpr std::string_view name = "IPv6";
  using Addr = Dovel::Ip6Addr;
  using Prefix = Dovel::Ip6Prefix;
  using Destination = Dovel::Ip6AddrWithMask;
};

}  // namespace Kelbase
