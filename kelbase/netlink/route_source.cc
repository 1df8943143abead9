#include "kelbase/netlink/route_source.h"

#include <array>

#include <fmt/format.h>
#include <linux/netconf.h>
#include <linux/nexthop.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "kelbase/model/trace.h"
#include "kelbase/netlink/netlink_attributes.h"
#include "kelbase/netlink/route_message.h"

namespace Kelbase {
namespace {

constexpr std::array routeGroups{unsigned{RTNLGRP_IPV4_ROUTE}, unsigned{RTNLGRP_IPV4_NETCONF}};

constexpr std::array settingRules{
    AttributeRule{NETCONFA_IFINDEX, "NETCONFA_IFINDEX", exactly(sizeof(std::int32_t)), required},
    AttributeRule{NETCONFA_IGNORE_ROUTES_WITH_LINKDOWN, "NETCONFA_IGNORE_ROUTES_WITH_LINKDOWN",
                  exactly(sizeof(std::int32_t))},
};
static_assert(SilentChanges::allLinks == NETCONFA_IFINDEX_ALL);

/// Heeded by kernels from 4.20 on; others list every table.
rtmsg routeHeader() {
  rtmsg header{};
  header.rtm_family = AF_INET;
  header.rtm_table = RT_TABLE_MAIN;
  return header;
}

}  // namespace

std::optional<std::pair<std::int32_t, bool>> readIgnoresLinkdown(NetlinkMessage const& message) {
  if (message.header<netconfmsg>().ncm_family != AF_INET) return std::nullopt;
  Attributes const attributes(message.name(), message.attributes<netconfmsg>(), settingRules);
  auto const link = *attributes.value<std::int32_t>(NETCONFA_IFINDEX);
  auto const setting = attributes.value<std::int32_t>(NETCONFA_IGNORE_ROUTES_WITH_LINKDOWN);
  // What is set for links to come is no matter yet.
  if (!setting || link == NETCONFA_IFINDEX_DEFAULT) return std::nullopt;
  return std::pair(link, *setting != 0);
}

RouteSource::RouteSource(Routes& routes, KernelSource const& nexthops)
    : routes_(routes), nexthops_(nexthops) {
  // Routes are listed without the RTNL lock. The first request is there to wait for that lock: what
  // the kernel is about to change with a link, an address or a nexthop object has changed then.
  requests_.emplace_back(RTM_GETNEXTHOP, NLM_F_DUMP, nhmsg{});
  requests_.emplace_back(RTM_GETROUTE, NLM_F_DUMP, routeHeader());
  for (auto& request : requests_) request.unsupportedIsEmpty();
  routes.doubtsAre([this](Routes::Doubt why) { onDoubt(why); });
}

std::span<unsigned const> RouteSource::groups() const { return routeGroups; }

bool RouteSource::takes(std::uint16_t messageType) const {
  return messageType == RTM_NEWROUTE || messageType == RTM_DELROUTE ||
         messageType == RTM_NEWNETCONF;
}

void RouteSource::dumpBegin() {
  isDumping_ = true;
  routes_.dumpBegin();
}

void RouteSource::dumpEnd(bool whole) {
  isDumping_ = false;
  routes_.dumpEnd(whole);
}

void RouteSource::receive(NetlinkMessage const& message) {
  if (message.type() == RTM_NEWNETCONF) {
    auto const setting = readIgnoresLinkdown(message);
    if (setting) routes_.ignoresLinkdownIs(setting->first, setting->second);
    return;
  }
  if (!readRoute(message, route_)) return;
  message.type() == RTM_DELROUTE ? routes_.del(route_) : routes_.is(route_, rankOf(message));
}

void RouteSource::onDoubt(Routes::Doubt why) const {
  bool const isSilence = why == Routes::Doubt::silence;
  MAV_TRACE(traceHandle(), 1,
            "routes may be others" << (isSilence ? " in silence" : "") << ": reading them again");
  double const delay = isSilence ? hintDelay : doubtDelay;
  if (why != Routes::Doubt::order) nexthops_.wantDump(delay);
  wantDump(delay);
}

Routes::Rank RouteSource::rankOf(NetlinkMessage const& message) const {
  if (isDumping_) return Routes::Rank::listed;
  if ((message.flags() & NLM_F_REPLACE) != 0) return Routes::Rank::replaced;
  if ((message.flags() & NLM_F_APPEND) != 0) return Routes::Rank::appended;
  // What the kernel notifies, not what it was asked (net/ipv4/fib_trie.c, fib_table_insert).
  if ((message.flags() & NLM_F_EXCL) != 0) return Routes::Rank::only;
  return Routes::Rank::first;
}

std::string RouteSource::summary() const {
  return fmt::format("{} IPv4 route{}", routes_.table().size(),
                     routes_.table().size() == 1 ? "" : "s");
}

}  // namespace Kelbase
