#pragma once
// RTM_NEWLINK and RTM_DELLINK (rtnetlink(7)), read into Link. The kernel writes them in
// rtnl_fill_ifinfo (net/core/rtnetlink.c). Every attribute that is used is checked first:
// BadMessage otherwise.
//
// Links are the one kind that others are hung on by index. A link's end is the kernel's last word
// on it: what hung on it has gone before, with messages of its own or in silence (SilentChanges).

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include <linux/rtnetlink.h>

#include "kelbase/model/links.h"
#include "kelbase/netlink/netlink_message.h"
#include "kelbase/netlink/netlink_request.h"

namespace Kelbase {

struct LinkDecoder {
  static constexpr std::string_view name = "links";
  static constexpr std::array groups{unsigned{RTNLGRP_LINK}};
  static constexpr std::uint16_t newType = RTM_NEWLINK;
  static constexpr std::uint16_t delType = RTM_DELLINK;

  static std::vector<NetlinkRequest> requests();
  /// Of RTM_DELLINK the index alone. Nothing for a bridge's word about one of its ports.
  static std::optional<Link> read(NetlinkMessage const& message);
};

}  // namespace Kelbase
