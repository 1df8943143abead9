#include <linux/if.h>
#include <sys/socket.h>

#include "kelbase/netlink/decoders.h"
#include "kelbase/netlink/netlink_attributes.h"

namespace Kelbase {
namespace {

constexpr std::uint32_t ip6MtuMin = 1280;  // IPV6_MIN_MTU

constexpr std::array linkRules{
    AttributeRule{IFLA_IFNAME, "IFLA_IFNAME", textOf(IFNAMSIZ), required},
    AttributeRule{IFLA_MTU, "IFLA_MTU", exactly(sizeof(std::uint32_t))},
    AttributeRule{IFLA_MASTER, "IFLA_MASTER", exactly(sizeof(std::uint32_t))},
};

}  // namespace

std::vector<NetlinkRequest> LinkDecoder::requests() {
  NetlinkRequest request(RTM_GETLINK, NLM_F_DUMP, ifinfomsg{});
  // Counters would be three quarters of the answer.
  request.put(IFLA_EXT_MASK, std::uint32_t{RTEXT_FILTER_SKIP_STATS});
  return {request};
}

std::optional<Link> LinkDecoder::read(NetlinkMessage const& message) {
  auto const info = message.header<ifinfomsg>();
  // A bridge speaks of its ports with the same messages under AF_BRIDGE: a port that leaves its
  // bridge is still a link.
  if (info.ifi_family != AF_UNSPEC) return std::nullopt;
  Link link;
  link.index = checkedIndex(message, info.ifi_index, 1);
  // Nothing else is asked of it: a removal whose attributes are malformed removes the link all the
  // same.
  if (message.type() == RTM_DELLINK) return link;
  Attributes const attributes(message, message.attributes<ifinfomsg>(), linkRules);
  link.name = Dovel::IntfId(*attributes.text(IFLA_IFNAME));
  link.isUp = (info.ifi_flags & IFF_UP) != 0;
  // The kernel computes IFF_RUNNING and IFF_LOWER_UP for each message (net/core/dev.c,
  // dev_get_flags): the first of the operational state (RFC 2863), the second of the carrier.
  link.isRunning = (info.ifi_flags & IFF_RUNNING) != 0;
  link.hasCarrier = (info.ifi_flags & IFF_LOWER_UP) != 0;
  link.isLoopback = (info.ifi_flags & IFF_LOOPBACK) != 0;
  link.fitsIp6 = attributes.value<std::uint32_t>(IFLA_MTU).value_or(ip6MtuMin) >= ip6MtuMin;
  link.master = attributes.value<std::uint32_t>(IFLA_MASTER).value_or(0);
  return link;
}

}  // namespace Kelbase
