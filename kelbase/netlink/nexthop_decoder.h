#pragma once
// RTM_NEWNEXTHOP and RTM_DELNEXTHOP (ip-nexthop(8)), read into ListedNexthop. The kernel writes
// them in nh_fill_node (net/ipv4/nexthop.c). Every attribute that is used is checked first:
// BadMessage otherwise.
//
// The kernel tells a group anew when a member that an administrator removes leaves it, after the
// member's own removal. What goes with a link goes without a word.

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include <linux/nexthop.h>
#include <linux/rtnetlink.h>

#include "kelbase/netlink/netlink_request.h"
#include "kelbase/netlink/route_message.h"

namespace Kelbase {

struct NexthopDecoder {
  static constexpr std::string_view name = "nexthop objects";
  static constexpr std::array groups{unsigned{RTNLGRP_NEXTHOP}};
  static constexpr std::uint16_t newType = RTM_NEWNEXTHOP;
  static constexpr std::uint16_t delType = RTM_DELNEXTHOP;

  /// Kernels before 5.3 have none.
  static std::vector<NetlinkRequest> requests() {
    NetlinkRequest request(RTM_GETNEXTHOP, NLM_F_DUMP, nhmsg{});
    return {request.unsupportedIsEmpty()};
  }
  /// Of either version of IP: there is one space of ids.
  static std::optional<ListedNexthop> read(NetlinkMessage const& message) {
    return readNexthop(message);
  }
};

}  // namespace Kelbase
