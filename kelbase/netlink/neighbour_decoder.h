#pragma once
// RTM_NEWNEIGH and RTM_DELNEIGH (rtnetlink(7)) of IPv4 and IPv6, read into Neighbour. The kernel
// writes them in neigh_fill_info (net/core/neighbour.c). Those of other families (AF_BRIDGE) and
// proxy entries are passed over.
//
// One source for both versions: the kernel's group and dump are of all families, and so is the
// published table.

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include <linux/rtnetlink.h>

#include "kelbase/model/neighbour.h"
#include "kelbase/netlink/netlink_message.h"
#include "kelbase/netlink/netlink_request.h"

namespace Kelbase {

struct NeighbourDecoder {
  static constexpr std::string_view name = Neighbour::kinds;
  static constexpr std::array groups{unsigned{RTNLGRP_NEIGH}};
  static constexpr std::uint16_t newType = RTM_NEWNEIGH;
  static constexpr std::uint16_t delType = RTM_DELNEIGH;

  static std::vector<NetlinkRequest> requests();
  /// Nothing for what a bridge forwards by (AF_BRIDGE), and for addresses that this host answers
  /// for (NTF_PROXY): the group tells of all of them.
  static std::optional<Neighbour> read(NetlinkMessage const& message);
};

}  // namespace Kelbase
