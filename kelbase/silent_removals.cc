#include "kelbase/silent_removals.h"

#include <array>
#include <utility>

#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "kelbase/netlink_attributes.h"
#include "kelbase/route_message.h"

namespace Kelbase {
namespace {

constexpr std::array linkRules{
    AttributeRule{IFLA_MASTER, "IFLA_MASTER", exactly(sizeof(std::uint32_t))},
};

constexpr std::array addressRules{
    AttributeRule{IFA_LOCAL, "IFA_LOCAL", exactly(sizeof(Dovel::IpAddr::Octets))},
};

}  // namespace

bool SilentRemovals::takes(std::uint16_t messageType) {
  return messageType == RTM_NEWLINK || messageType == RTM_DELLINK || messageType == RTM_DELADDR ||
         messageType == RTM_DELNEXTHOP;
}

bool SilentRemovals::hints(NetlinkMessage const& message) {
  switch (message.type()) {
    case RTM_DELADDR:
      return addressHints(message);
    case RTM_DELNEXTHOP:
      return sets_.usesObject(readNexthop(message).id);
    default:
      return linkHints(message);
  }
}

/// Of a link that is heard of for the first time nothing is known: it may have fallen.
bool SilentRemovals::linkHints(NetlinkMessage const& message) {
  auto const info = message.header<ifinfomsg>();
  if (info.ifi_family != AF_UNSPEC) return false;
  if (message.type() == RTM_DELLINK) {
    links_.erase(info.ifi_index);
    return sets_.usesLink(info.ifi_index);
  }
  Attributes const attributes(message.name(), message.attributes<ifinfomsg>(), linkRules);
  Link const now{(info.ifi_flags & IFF_UP) != 0,
                 (info.ifi_flags & (IFF_RUNNING | IFF_LOWER_UP)) != 0,
                 attributes.value<std::uint32_t>(IFLA_MASTER).value_or(0)};
  Link const before = std::exchange(links_[info.ifi_index], now);
  bool const falls = (before.isUp && !now.isUp) || (before.hasCarrier && !now.hasCarrier) ||
                     before.master != now.master;
  return falls && sets_.usesLink(info.ifi_index);
}

bool SilentRemovals::addressHints(NetlinkMessage const& message) const {
  auto const info = message.header<ifaddrmsg>();
  if (info.ifa_family != AF_INET) return false;
  Attributes const attributes(message.name(), message.attributes<ifaddrmsg>(), addressRules);
  auto const local = attributes.value<Dovel::IpAddr::Octets>(IFA_LOCAL);
  return sets_.usesLink(static_cast<std::int32_t>(info.ifa_index)) ||
         (local && preferredSources_.contains(Dovel::IpAddr(*local)));
}

}  // namespace Kelbase
