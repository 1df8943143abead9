#include "kelbase/netlink/route_message.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <fmt/format.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "kelbase/model/siblings.h"
#include "kelbase/netlink/netlink_attributes.h"

namespace Kelbase {
namespace {

constexpr std::size_t numberSize = sizeof(std::uint32_t);

constexpr AttributeRule numberRule(std::uint16_t type, std::string_view name) {
  return {type, name, exactly(numberSize)};
}

template <class Ip>
constexpr AttributeRule addressRule(std::uint16_t type, std::string_view name) {
  return {type, name, exactly(sizeof(typename Ip::Addr::Octets))};
}

// In the order in which the kernel writes them, which makes looking them up short.
template <class Ip>
constexpr std::array routeRules{
    numberRule(RTA_TABLE, "RTA_TABLE"),
    addressRule<Ip>(RTA_DST, "RTA_DST"),
    numberRule(RTA_PRIORITY, "RTA_PRIORITY"),
    // Of any size: its bytes tell one route from another (Fingerprint), and are not read.
    AttributeRule{RTA_METRICS, "RTA_METRICS", {}},
    addressRule<Ip>(RTA_PREFSRC, "RTA_PREFSRC"),
    addressRule<Ip>(RTA_GATEWAY, "RTA_GATEWAY"),
    AttributeRule{RTA_VIA, "RTA_VIA", atLeast(sizeof(rtvia))},
    numberRule(RTA_OIF, "RTA_OIF"),
    numberRule(RTA_FLOW, "RTA_FLOW"),
    AttributeRule{RTA_ENCAP_TYPE, "RTA_ENCAP_TYPE", exactly(sizeof(std::uint16_t))},
    AttributeRule{RTA_ENCAP, "RTA_ENCAP", {}},
    AttributeRule{RTA_MULTIPATH, "RTA_MULTIPATH", atLeast(sizeof(rtnexthop))},
    numberRule(RTA_NH_ID, "RTA_NH_ID"),
    AttributeRule{RTA_CACHEINFO, "RTA_CACHEINFO", atLeast(sizeof(rta_cacheinfo))},
};

template <class Ip>
constexpr std::array pathRules{
    addressRule<Ip>(RTA_GATEWAY, "RTA_MULTIPATH: RTA_GATEWAY"),
    AttributeRule{RTA_VIA, "RTA_MULTIPATH: RTA_VIA", atLeast(sizeof(rtvia))},
    numberRule(RTA_FLOW, "RTA_MULTIPATH: RTA_FLOW"),
    AttributeRule{RTA_ENCAP_TYPE, "RTA_MULTIPATH: RTA_ENCAP_TYPE", exactly(sizeof(std::uint16_t))},
    AttributeRule{RTA_ENCAP, "RTA_MULTIPATH: RTA_ENCAP", {}},
};

/// A multiplicative hash without state between runs; eight octets in one step.
class Fingerprint {
 public:
  Fingerprint& add(std::uint64_t number) {
    // 2^64 divided by the golden ratio, odd; the shift brings what the product has mixed, its upper
    // half, into the lower, of which value() is made.
    hash_ = (hash_ ^ number) * 0x9e3779b97f4a7c15U;
    hash_ ^= hash_ >> 32U;
    return *this;
  }
  Fingerprint& add(std::optional<Bytes> const& bytes) {
    if (!bytes) return add(noBytes);
    add(bytes->size());
    for (auto left = *bytes; !left.empty();) {
      std::uint64_t number = 0;
      auto const size = std::min(left.size(), sizeof number);
      std::memcpy(&number, left.data(), size);
      add(number);
      left = left.subspan(size);
    }
    return *this;
  }
  // Four octets do: only the routes of one prefix, tos and metric are told apart by it.
  std::uint32_t value() const { return static_cast<std::uint32_t>(hash_); }

 private:
  // An attribute that is not there is told from one that is empty.
  static constexpr std::uint64_t noBytes = ~std::uint64_t{0};
  std::uint64_t hash_ = 0;
};

/// The unspecified one where there is none.
template <class Addr>
Addr addressOf(Attributes const& attributes, std::uint16_t type) {
  return attributes.address<Addr>(type).value_or(Addr());
}

/// Of an IPv4 route, RTA_VIA has an IPv6 neighbour (RFC 8950); other families are none of IP.
void readVia(NetlinkMessage const& message, Bytes via, NextHop& hop) {
  rtvia header;
  std::memcpy(&header, via.data(), sizeof header);
  if (header.rtvia_family != AF_INET6) return;
  Dovel::Ip6Addr::Octets octets;
  if (via.size() != sizeof header + octets.size()) {
    message.fail(
        fmt::format("RTA_VIA: {} bytes, expected {}", via.size(), sizeof header + octets.size()));
  }
  std::memcpy(octets.data(), via.data() + sizeof header, octets.size());
  hop.nextHop6 = Dovel::Ip6Addr(octets);
}

template <class Ip>
typename Ip::Destination prefixOf(NetlinkMessage const& message, typename Ip::Addr const& address,
                                  unsigned length) {
  checkLength(message, length, Ip::Addr::bits);
  if (address.masked(length) != address) {
    // The kernel has no such route: it refuses host bits in a request, or masks them (IPv6). Two
    // prefixes would mean one row of the table.
    message.fail(fmt::format("RTA_DST: {}/{} has host bits set", address.stringValue(), length));
  }
  return {address, length};
}

/// Flags that come and go while the route stays the same (net/ipv4/fib_semantics.c,
/// RTNH_COMPARE_MASK), and those of the message about it.
constexpr std::uint32_t passingFlags =
    RTNH_COMPARE_MASK | RTM_F_OFFLOAD | RTM_F_TRAP | RTM_F_OFFLOAD_FAILED;

// One with a gateway of neither family, or with none, leads to the link itself.
template <class Ip>
NextHop hopOf(NetlinkMessage const& message, Attributes const& attributes, std::int32_t index) {
  NextHop hop;
  hop.ifIndex = checkedIndex(message, index, 0);
  if constexpr (Ip::version == IpVersion::v4) {
    hop.nextHop = addressOf<Dovel::IpAddr>(attributes, RTA_GATEWAY);
    if (auto const via = attributes.bytes(RTA_VIA)) readVia(message, *via, hop);
  } else {
    hop.nextHop6 = addressOf<Dovel::Ip6Addr>(attributes, RTA_GATEWAY);
  }
  return hop;
}

/// A next hop with its flags (RTNH_F_...). Dead is also one without carrier where the link has
/// ignore_routes_with_linkdown (fib_nexthop_info): the flag tells what fib_table_lookup() goes by.
template <class Ip>
void addHop(NetlinkMessage const& message, Attributes const& attributes, std::int32_t index,
            std::uint32_t flags, ListedRoute<Ip>& route, Fingerprint& identity) {
  auto const hop = hopOf<Ip>(message, attributes, index);
  identity.add(attributes.bytes(RTA_GATEWAY)).add(static_cast<std::uint64_t>(hop.ifIndex));
  identity.add(flags & ~passingFlags);
  for (auto const type : {RTA_VIA, RTA_FLOW, RTA_ENCAP_TYPE, RTA_ENCAP}) {
    identity.add(attributes.bytes(type));
  }
  // A dead next hop is told by its link alone: when it revives, the kernel says so of the link
  // (SilentChanges).
  if ((flags & RTNH_F_DEAD) != 0) {
    route.deadLinks.push_back(hop.ifIndex);
  } else {
    route.hops.push_back(hop);
  }
}

/// Each next hop: struct rtnexthop, then attributes of its own.
template <class Ip>
void readPaths(NetlinkMessage const& message, Bytes left, ListedRoute<Ip>& route,
               Fingerprint& identity) {
  while (!left.empty()) {
    rtnexthop path;
    if (left.size() >= sizeof path) std::memcpy(&path, left.data(), sizeof path);
    if (left.size() < sizeof path || path.rtnh_len < sizeof path || path.rtnh_len > left.size()) {
      message.fail(fmt::format("RTA_MULTIPATH: {} bytes at its end are no next hop", left.size()));
    }
    Bytes const nested = left.subspan(sizeof path, path.rtnh_len - sizeof path);
    // The weight less one: no table shows it, but it tells one route from another.
    identity.add(path.rtnh_hops);
    addHop(message, Attributes(message, nested, pathRules<Ip>), path.rtnh_ifindex, path.rtnh_flags,
           route, identity);
    left = left.subspan(std::min<std::size_t>(RTNH_ALIGN(path.rtnh_len), left.size()));
  }
}

RouteKind kindOf(std::uint8_t type) {
  switch (type) {
    case RTN_UNICAST:
      return RouteKind::unicast;
    case RTN_BLACKHOLE:
      return RouteKind::blackhole;
    case RTN_UNREACHABLE:
      return RouteKind::unreachable;
    case RTN_PROHIBIT:
      return RouteKind::prohibit;
    default:
      return RouteKind::other;
  }
}

/// IPv6 routes that do not forward are listed over the loopback (ip6_route_info_create).
template <class Ip>
bool hasHops(Attributes const& attributes, RouteKind kind) {
  if (Ip::version == IpVersion::v6 && kind != RouteKind::unicast) return false;
  return attributes.has(RTA_OIF) || attributes.has(RTA_GATEWAY) || attributes.has(RTA_VIA);
}

/// The kernel may write out a nexthop object's content too (net.ipv4.nexthop_compat_mode), which
/// changes with the object while the route stays the same, as do then the flags. With the object
/// turns the type, too: while it is a blackhole, so are its routes.
template <class Ip>
void readHops(NetlinkMessage const& message, rtmsg const& header, Attributes const& attributes,
              ListedRoute<Ip>& route, Fingerprint& identity) {
  // What the message before left in it goes: the caller's object is used for all of them.
  route.hops.clear();
  route.deadLinks.clear();
  route.tellsSiblings = false;
  route.kind = kindOf(header.rtm_type);
  route.link = 0;
  if (route.kind == RouteKind::other) {
    route.link = checkedIndex(message, attributes.value<std::int32_t>(RTA_OIF).value_or(0), 0);
  }
  route.object = attributes.value<std::uint32_t>(RTA_NH_ID).value_or(0);
  if (route.object != 0) {
    identity.add(route.object);
    return;
  }
  identity.add(header.rtm_type).add(header.rtm_flags & ~passingFlags);
  if (auto const paths = attributes.bytes(RTA_MULTIPATH)) {
    readPaths(message, *paths, route, identity);
    route.tellsSiblings = Ip::version == IpVersion::v6;
  } else if (hasHops<Ip>(attributes, route.kind)) {
    auto const index = attributes.value<std::int32_t>(RTA_OIF).value_or(0);
    addHop(message, attributes, index, header.rtm_flags, route, identity);
  }
  if (route.hops.empty() && !route.deadLinks.empty()) route.kind = RouteKind::dead;
}

void readIdentity(rtmsg const& header, Attributes const& attributes, Fingerprint& identity,
                  ListedRoute<Ip4>& route) {
  identity.add(header.rtm_protocol).add(header.rtm_scope);
  identity.add(attributes.bytes(RTA_PREFSRC)).add(attributes.bytes(RTA_METRICS));
  route.identity = identity.value();
  route.preferredSource = attributes.address<Dovel::IpAddr>(RTA_PREFSRC);
}

/// The preferred source and the metrics of an IPv6 route change in silence (rt6_remove_prefsrc,
/// fib6_add_rt2node).
void readIdentity(rtmsg const& header, Attributes const& attributes, Fingerprint& identity,
                  ListedRoute<Ip6>& route) {
  bool const isSibling = route.object == 0 && header.rtm_type == RTN_UNICAST &&
                         (route.tellsSiblings || attributes.has(RTA_GATEWAY));
  route.identity = isSibling ? Siblings::identity : identity.add(header.rtm_protocol).value();
}

/// What has expired is not chosen any more, though it is listed until the kernel collects it
/// (net/ipv6/ip6_fib.c, fib6_run_gc). Those of siblings are not all told.
void readLifetime(Attributes const& attributes, ListedRoute<Ip6>& route) {
  auto const cache = attributes.value<rta_cacheinfo>(RTA_CACHEINFO);
  route.mayExpire = cache && cache->rta_expires != 0;
  route.lifetime =
      cache && !route.tellsSiblings ? static_cast<std::int32_t>(cache->rta_expires) : 0;
  // Kept as dead, not left out: the kernel tells of its removal, and until then may prolong it.
  if (route.lifetime < 0) route.kind = RouteKind::dead;
}

}  // namespace

template <class Ip>
bool readRoute(NetlinkMessage const& message, ListedRoute<Ip>& route) {
  auto const header = message.header<rtmsg>();
  // Before any attribute: both sources get every message about routes, and the rules of one version
  // would call an address of the other malformed.
  if (header.rtm_family != familyOf(Ip::version) || (header.rtm_flags & RTM_F_CLONED) != 0 ||
      header.rtm_src_len != 0) {
    return false;
  }
  Attributes const attributes(message, message.attributes<rtmsg>(), routeRules<Ip>);
  // rtm_table has room for the first 256 alone.
  if (attributes.value<std::uint32_t>(RTA_TABLE).value_or(header.rtm_table) != RT_TABLE_MAIN) {
    return false;
  }
  route.prefix =
      prefixOf<Ip>(message, addressOf<typename Ip::Addr>(attributes, RTA_DST), header.rtm_dst_len);
  route.metric = attributes.value<std::uint32_t>(RTA_PRIORITY).value_or(0);
  route.tos = header.rtm_tos;
  route.protocol = header.rtm_protocol;
  Fingerprint identity;
  readHops(message, header, attributes, route, identity);
  readIdentity(header, attributes, identity, route);
  if constexpr (Ip::version == IpVersion::v6) readLifetime(attributes, route);
  return true;
}

template bool readRoute(NetlinkMessage const& message, ListedRoute<Ip4>& route);
template bool readRoute(NetlinkMessage const& message, ListedRoute<Ip6>& route);

std::optional<std::int32_t> readMulticastLink(NetlinkMessage const& message) {
  constexpr Dovel::Ip6Addr multicast({0xff});
  constexpr unsigned char length = 8;
  auto const header = message.header<rtmsg>();
  bool const mayBe = header.rtm_family == AF_INET6 && header.rtm_table == RT_TABLE_LOCAL &&
                     header.rtm_dst_len == length;
  if (!mayBe) return std::nullopt;
  Attributes const attributes(message, message.attributes<rtmsg>(), routeRules<Ip6>);
  if (addressOf<Dovel::Ip6Addr>(attributes, RTA_DST) != multicast) return std::nullopt;
  return attributes.value<std::int32_t>(RTA_OIF);
}

}  // namespace Kelbase
