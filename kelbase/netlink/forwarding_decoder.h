#pragma once
// RTM_NEWNETCONF and RTM_DELNETCONF (linux/netconf.h) of the pseudo-interface "all", read into
// ForwardingFlag. The kernel writes them in inet_netconf_fill_devconf (net/ipv4/devinet.c) and
// inet6_netconf_fill_devconf (net/ipv6/addrconf.c).
//
// A link that is renamed has its netconf deleted and told again under the same index, which says
// nothing of "all".

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include <linux/rtnetlink.h>

#include "kelbase/model/forwarding.h"
#include "kelbase/netlink/netlink_message.h"
#include "kelbase/netlink/netlink_request.h"

namespace Kelbase {

struct ForwardingDecoder {
  static constexpr std::string_view name = "forwarding";
  static constexpr std::array groups{unsigned{RTNLGRP_IPV4_NETCONF},
                                     unsigned{RTNLGRP_IPV6_NETCONF}};
  static constexpr std::uint16_t newType = RTM_NEWNETCONF;
  static constexpr std::uint16_t delType = RTM_DELNETCONF;

  static std::vector<NetlinkRequest> requests();
  /// Nothing for a single interface, another setting or another family.
  static std::optional<ForwardingFlag> read(NetlinkMessage const& message);
};

}  // namespace Kelbase
