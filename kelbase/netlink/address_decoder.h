#pragma once
// RTM_NEWADDR and RTM_DELADDR (rtnetlink(7)), read into Address4 and Address6. The kernel writes
// them in inet_fill_ifaddr (net/ipv4/devinet.c) and inet6_fill_ifaddr (net/ipv6/addrconf.c). Every
// attribute that is used is checked first: BadMessage otherwise.
//
// Each has its version of IP alone, though both take the same type of message: a family that is not
// theirs is passed over before any attribute is looked at.

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include <linux/rtnetlink.h>

#include "kelbase/model/address.h"
#include "kelbase/netlink/netlink_message.h"
#include "kelbase/netlink/netlink_request.h"

namespace Kelbase {

/// An address is known by link, address, length and peer: a removal tells all four.
struct Address4Decoder {
  static constexpr std::string_view name = Address4::kinds;
  static constexpr std::array groups{unsigned{RTNLGRP_IPV4_IFADDR}};
  static constexpr std::uint16_t newType = RTM_NEWADDR;
  static constexpr std::uint16_t delType = RTM_DELADDR;

  /// Of the version's own addresses: a dump of AF_UNSPEC would list all, once for each of the two.
  static std::vector<NetlinkRequest> requests();
  /// Nothing for the other version; BadMessage.
  static std::optional<Address4> read(NetlinkMessage const& message);
};

/// Its lifetimes, and that it is deprecated or a duplicate, come with further RTM_NEWADDR of the
/// same key.
struct Address6Decoder {
  static constexpr std::string_view name = Address6::kinds;
  static constexpr std::array groups{unsigned{RTNLGRP_IPV6_IFADDR}};
  static constexpr std::uint16_t newType = RTM_NEWADDR;
  static constexpr std::uint16_t delType = RTM_DELADDR;

  static std::vector<NetlinkRequest> requests();
  static std::optional<Address6> read(NetlinkMessage const& message);
};

}  // namespace Kelbase
