#include "kelbase/publish/silent_removals.h"

#include <array>
#include <utility>

#include <fmt/format.h>
#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/netconf.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "kelbase/netlink/netlink_attributes.h"
#include "kelbase/netlink/route_message.h"

namespace Kelbase {
namespace {

constexpr std::array linkRules{
    AttributeRule{IFLA_MASTER, "IFLA_MASTER", exactly(sizeof(std::uint32_t))},
};

constexpr std::array addressRules{
    AttributeRule{IFA_ADDRESS, "IFA_ADDRESS", exactly(sizeof(Dovel::IpAddr::Octets))},
    AttributeRule{IFA_LOCAL, "IFA_LOCAL", exactly(sizeof(Dovel::IpAddr::Octets))},
    AttributeRule{IFA_FLAGS, "IFA_FLAGS", exactly(sizeof(std::uint32_t))},
};

constexpr std::array settingRules{
    AttributeRule{NETCONFA_IFINDEX, "NETCONFA_IFINDEX", exactly(sizeof(std::int32_t)), required},
    AttributeRule{NETCONFA_IGNORE_ROUTES_WITH_LINKDOWN, "NETCONFA_IGNORE_ROUTES_WITH_LINKDOWN",
                  exactly(sizeof(std::int32_t))},
};

/// Where the network of an address is local, and no route of table main leads to it
/// (fib_add_ifaddr). In every network namespace (net/core/dev.c).
constexpr std::int32_t loopback = 1;

std::optional<Dovel::IpAddr> addressOf(Attributes const& attributes, std::uint16_t type) {
  auto const octets = attributes.value<Dovel::IpAddr::Octets>(type);
  return octets ? std::optional(Dovel::IpAddr(*octets)) : std::nullopt;
}

}  // namespace

bool SilentRemovals::takes(std::uint16_t messageType) {
  return messageType == RTM_NEWLINK || messageType == RTM_DELLINK || messageType == RTM_NEWADDR ||
         messageType == RTM_DELADDR || messageType == RTM_DELNEXTHOP ||
         messageType == RTM_NEWNETCONF;
}

bool SilentRemovals::hints(NetlinkMessage const& message) {
  switch (message.type()) {
    case RTM_NEWADDR:
    case RTM_DELADDR:
      return addressHints(message);
    case RTM_NEWNETCONF:
      return settingHints(message);
    case RTM_DELNEXTHOP:
      return sets_.usesObject(readNexthop(message).id);
    default:
      return linkHints(message);
  }
}

/// Of a link that is heard of for the first time nothing is known: it may have fallen, or risen.
bool SilentRemovals::linkHints(NetlinkMessage const& message) {
  auto const info = message.header<ifinfomsg>();
  if (info.ifi_family != AF_UNSPEC) return false;
  if (message.type() == RTM_DELLINK) {
    links_.erase(info.ifi_index);
    addressesDel(info.ifi_index);
    ignores_.erase(info.ifi_index);
    return usesLink(info.ifi_index);
  }
  Attributes const attributes(message.name(), message.attributes<ifinfomsg>(), linkRules);
  Link const now{(info.ifi_flags & IFF_UP) != 0, (info.ifi_flags & IFF_RUNNING) != 0,
                 (info.ifi_flags & IFF_LOWER_UP) != 0,
                 attributes.value<std::uint32_t>(IFLA_MASTER).value_or(0)};
  auto const [entry, isNew] = links_.try_emplace(info.ifi_index);
  Link const before = std::exchange(entry->second, now);
  bool const falls = (before.isUp && !now.isUp) || (before.hasCarrier() && !now.hasCarrier()) ||
                     before.master != now.master;
  if (falls) return usesLink(info.ifi_index);
  return (isNew || before != now) && dead_.contains(info.ifi_index);
}

/// Of one link, or of all: either turns it on (IN_DEV_IGNORE_ROUTES_WITH_LINKDOWN). What is set for
/// links to come is no matter yet.
bool SilentRemovals::settingHints(NetlinkMessage const& message) {
  if (message.header<netconfmsg>().ncm_family != AF_INET) return false;
  Attributes const attributes(message.name(), message.attributes<netconfmsg>(), settingRules);
  auto const link = *attributes.value<std::int32_t>(NETCONFA_IFINDEX);
  auto const setting = attributes.value<std::int32_t>(NETCONFA_IGNORE_ROUTES_WITH_LINKDOWN);
  if (!setting || link == NETCONFA_IFINDEX_DEFAULT) return false;
  bool const now = *setting != 0;
  auto const [entry, isNew] = ignores_.try_emplace(link, now);
  if (std::exchange(entry->second, now) == now && !isNew) return false;
  if (link == NETCONFA_IFINDEX_ALL) return sets_.size() > 0 || !dead_.empty();
  return usesLink(link);
}

bool SilentRemovals::addressHints(NetlinkMessage const& message) {
  auto const info = message.header<ifaddrmsg>();
  if (info.ifa_family != AF_INET) return false;
  if (info.ifa_prefixlen > Dovel::IpAddr::bits) {
    throw BadMessage(
        fmt::format("{}: prefix length {}, expected 0 to 32", message.name(), info.ifa_prefixlen));
  }
  Attributes const attributes(message.name(), message.attributes<ifaddrmsg>(), addressRules);
  auto const peer = addressOf(attributes, IFA_ADDRESS);
  auto const local = addressOf(attributes, IFA_LOCAL);
  Address const address{static_cast<std::int32_t>(info.ifa_index),
                        local.value_or(peer.value_or(Dovel::IpAddr())),
                        peer.value_or(Dovel::IpAddr()), info.ifa_prefixlen};
  if (message.type() == RTM_NEWADDR) {
    return addresses_.insert(address).second && dead_.contains(address.link);
  }
  addresses_.erase(address);
  auto const flags = attributes.value<std::uint32_t>(IFA_FLAGS).value_or(info.ifa_flags);
  return (!hasAddress(address.link) && usesLink(address.link)) || isPreferred(address, flags);
}

SilentRemovals::Addresses::const_iterator SilentRemovals::firstOf(std::int32_t link) const {
  return addresses_.lower_bound(Address{link, {}, {}, 0});
}

bool SilentRemovals::hasAddress(std::int32_t link) const {
  auto const first = firstOf(link);
  return first != addresses_.end() && first->link == link;
}

void SilentRemovals::addressesDel(std::int32_t link) {
  auto const first = firstOf(link);
  auto last = first;
  while (last != addresses_.end() && last->link == link) ++last;
  addresses_.erase(first, last);
}

/// By another route than the one that the kernel says it removes: that of a primary address's
/// network, unless it was told to make none.
bool SilentRemovals::isPreferred(Address const& address, std::uint32_t flags) const {
  auto const found = preferences_.find(address.local);
  if (found == preferences_.end()) return false;
  auto const& only = found->second.only;
  Dovel::IpAddr const network = address.peer.masked(address.length);
  bool const isConnected = (flags & (IFA_F_SECONDARY | IFA_F_NOPREFIXROUTE)) == 0 &&
                           address.link != loopback && network != address.local;
  return !isWhole_ || !isConnected || !only || only->link != address.link ||
         only->prefix != Dovel::Prefix(network, address.length);
}

std::optional<SilentRemovals::Connected> SilentRemovals::connectedBy(ListedRoute const& route) {
  if (route.protocol != RTPROT_KERNEL || route.kind != RouteKind::unicast || route.tos != 0 ||
      route.object != 0 || route.hops.size() != 1 || !route.hops[0].nextHop.isUnspecified()) {
    return std::nullopt;
  }
  return Connected{route.prefix, route.hops[0].ifIndex, route.metric, route.identity};
}

void SilentRemovals::routeIs(ListedRoute const& route) {
  for (auto const link : route.deadLinks) dead_[link] = dump_;
  if (!route.preferredSource) return;
  auto const connected = connectedBy(route);
  auto& preference = preferences_[*route.preferredSource];
  if (preference.dump != dump_) {
    preference = {connected, dump_};
  } else if (preference.only != connected) {
    preference.only.reset();
  }
}

void SilentRemovals::dumpBegin() {
  addresses_.clear();
  isWhole_ = false;
  ++dump_;
}

void SilentRemovals::dumpEnd(bool whole) {
  isWhole_ = whole;
  if (!whole) return;
  absl::erase_if(dead_, [this](auto const& entry) { return entry.second != dump_; });
  absl::erase_if(preferences_, [this](auto const& entry) { return entry.second.dump != dump_; });
}

}  // namespace Kelbase
