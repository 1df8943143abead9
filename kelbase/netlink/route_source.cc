#include "kelbase/netlink/route_source.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include <linux/netconf.h>
#include <linux/nexthop.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "kelbase/model/trace.h"
#include "kelbase/netlink/netlink_attributes.h"
#include "kelbase/netlink/route_message.h"

namespace Kelbase {
namespace {

template <class Ip>
constexpr bool isIp4 = Ip::version == IpVersion::v4;

template <class Ip>
constexpr std::array routeGroups{
    unsigned{isIp4<Ip> ? RTNLGRP_IPV4_ROUTE : RTNLGRP_IPV6_ROUTE},
    unsigned{isIp4<Ip> ? RTNLGRP_IPV4_NETCONF : RTNLGRP_IPV6_NETCONF},
};

constexpr std::array settingRules{
    AttributeRule{NETCONFA_IFINDEX, "NETCONFA_IFINDEX", exactly(sizeof(std::int32_t)), required},
    AttributeRule{NETCONFA_IGNORE_ROUTES_WITH_LINKDOWN, "NETCONFA_IGNORE_ROUTES_WITH_LINKDOWN",
                  exactly(sizeof(std::int32_t))},
};
static_assert(allLinks == NETCONFA_IFINDEX_ALL && newLinks == NETCONFA_IFINDEX_DEFAULT);

/// Heeded by kernels from 4.20 on; others list every table.
rtmsg routeHeader(IpVersion version) {
  rtmsg header{};
  header.rtm_family = familyOf(version);
  header.rtm_table = RT_TABLE_MAIN;
  return header;
}

/// A link, allLinks or newLinks, and whether its next hops of the version count without carrier.
/// Nothing for another setting or another version of IP.
std::optional<std::pair<std::int32_t, bool>> readIgnoresLinkdown(NetlinkMessage const& message,
                                                                 IpVersion version) {
  if (message.header<netconfmsg>().ncm_family != familyOf(version)) return std::nullopt;
  Attributes const attributes(message, message.attributes<netconfmsg>(), settingRules);
  auto const link = *attributes.value<std::int32_t>(NETCONFA_IFINDEX);
  auto const setting = attributes.value<std::int32_t>(NETCONFA_IGNORE_ROUTES_WITH_LINKDOWN);
  // A message tells all settings or the one that changed.
  if (!setting) return std::nullopt;
  return std::pair(link, *setting != 0);
}

}  // namespace

template <class Ip>
RouteSource<Ip>::RouteSource(Routes<Ip>& routes, KernelSource const& nexthops)
    : routes_(routes), nexthops_(nexthops) {
  // Routes are listed without the RTNL lock. The first request is there to wait for that lock: what
  // the kernel is about to change with a link, an address or a nexthop object has changed then.
  // Nobody takes what it lists, so that it may change meanwhile.
  requests_.emplace_back(RTM_GETNEXTHOP, NLM_F_DUMP, nhmsg{}).interruptedIsWhole();
  requests_.emplace_back(RTM_GETROUTE, NLM_F_DUMP, routeHeader(Ip::version));
  for (auto& request : requests_) request.unsupportedIsEmpty();
  routes.doubtsAre([this](RouteDoubt why) { onDoubt(why); });
}

template <class Ip>
std::span<unsigned const> RouteSource<Ip>::groups() const {
  return routeGroups<Ip>;
}

template <class Ip>
bool RouteSource<Ip>::takes(std::uint16_t messageType) const {
  return messageType == RTM_NEWROUTE || messageType == RTM_DELROUTE ||
         messageType == RTM_NEWNETCONF;
}

template <class Ip>
void RouteSource<Ip>::dumpBegin() {
  // Nothing but the answer comes until dumpEnd(): notifications are held back.
  isDumping_ = true;
  lastDump_ = Mav::now();
  // The dump lists every lifetime again.
  nextLook_ = Mav::never;
  listedBefore_ = std::exchange(lifetimes_, 0);
  pieces_.dumpBegin();
  routes_.dumpBegin();
}

template <class Ip>
void RouteSource<Ip>::dumpEnd(bool whole) {
  isDumping_ = false;
  pieces_.dumpEnd();
  wasWhole_ = whole;
  // One that is listed as it ends has 0 left, in hundredths, which else means that it has no end
  // (net/core/rtnetlink.c, rtnl_put_cacheinfo). How many have one the first dump cannot tell.
  bool const isFirst = std::exchange(isFirst_, false) && Ip::version == IpVersion::v6;
  if (isFirst || lifetimes_ < listedBefore_) lookAtLifetimes(expiredDelay);
  routes_.dumpEnd(whole);
}

template <class Ip>
void RouteSource<Ip>::replayIs(bool on) {
  isReplay_ = on;
  routes_.replayIs(on);
  if (!on && pieces_.replayEnd()) confirm();
}

/// A look does not ask for dumps: of a kernel that never rests nothing would be exact otherwise.
template <class Ip>
void RouteSource<Ip>::confirm() {
  if (Mav::now() - confirmedAt_ > coverInterval) confirms_ = 0;
  if (!wasWhole_ || confirms_ == confirmMax) return onDoubt(RouteDoubt::cover);
  ++confirms_;
  confirmedAt_ = Mav::now();
  onDoubt(RouteDoubt::order);
}

template <class Ip>
void RouteSource<Ip>::receive(NetlinkMessage const& message) {
  if (message.type() == RTM_NEWNETCONF) {
    auto const setting = readIgnoresLinkdown(message, Ip::version);
    if (setting) routes_.ignoresLinkdownIs(setting->first, setting->second);
    return;
  }
  if (!readRoute(message, route_)) return hearMulticast(message);
  bool const isGone = message.type() == RTM_DELROUTE;
  auto const& address = route_.prefix.address();
  if (isDumping_) pieces_.listed(address);
  if (isReplay_) pieces_.replayed(address, isGone);
  if (isGone) return routes_.del(route_);
  routes_.is(route_, rankOf(message));
  if (route_.mayExpire) ++lifetimes_;
  if (route_.lifetime != 0) onLifetime(route_.lifetime);
}

/// All that the kernel tells of disable_ipv6, on a link without addresses.
template <class Ip>
void RouteSource<Ip>::hearMulticast(NetlinkMessage const& message) const {
  // A kernel that heeds no filter lists it as well.
  if (isIp4<Ip> || isDumping_) return;
  if (auto const link = readMulticastLink(message)) {
    routes_.ip6Is(*link, message.type() == RTM_NEWROUTE);
  }
}

/// The kernel prolongs lifetimes in silence, and ends them so. Once expired, a route may still be
/// prolonged, until it is collected half a minute later (net/ipv6/ip6_fib.c, fib6_run_gc), or
/// never: where an address has set its end, nothing has armed the timer.
template <class Ip>
void RouteSource<Ip>::onLifetime(std::int32_t hundredths) {
  double const left = hundredths / 100.0;
  lookAtLifetimes(left > 0 ? left + lifetimeDelay : std::clamp(-left, expiredDelay, coverInterval));
}

template <class Ip>
void RouteSource<Ip>::lookAtLifetimes(double delay) {
  // A look that comes sooner tells how long each has left then.
  if (Mav::now() + delay >= nextLook_) return;
  nextLook_ = Mav::now() + delay;
  wantLook(delay);
}

template <class Ip>
void RouteSource<Ip>::onDoubt(RouteDoubt why) const {
  if (why == RouteDoubt::cover) {
    return wantLook(std::max(doubtDelay, lastDump_ + coverInterval - Mav::now()));
  }
  bool const isSilence = why == RouteDoubt::silence;
  MAV_TRACE(
      traceHandle(), 1,
      name() << " may be others" << (isSilence ? " in silence" : "") << ": reading them again");
  double const delay = isSilence ? hintDelay : doubtDelay;
  // Objects go with links as silently as routes. Their source stands before this one, so that the
  // routes which name them are listed after them.
  if (why != RouteDoubt::order) nexthops_.wantDump(delay);
  wantDump(delay);
}

template <class Ip>
RouteRank RouteSource<Ip>::rankOf(NetlinkMessage const& message) const {
  if (isDumping_) return RouteRank::listed;
  if ((message.flags() & NLM_F_REPLACE) != 0) return RouteRank::replaced;
  if ((message.flags() & NLM_F_APPEND) != 0) return RouteRank::appended;
  // What the kernel notifies, not what it was asked (net/ipv4/fib_trie.c, fib_table_insert).
  if ((message.flags() & NLM_F_EXCL) != 0) return RouteRank::only;
  return RouteRank::first;
}

template class RouteSource<Ip4>;
template class RouteSource<Ip6>;

}  // namespace Kelbase
