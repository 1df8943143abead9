#include "kelbase/ctl/ip_objects.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <limits>
#include <string_view>

#include <fmt/format.h>
#include <linux/if.h>

#include "kelbase/model/route_protocols.h"
#include "platform/mav/time.h"

namespace Kelbase::Ctl {
namespace {

using Names = std::vector<std::string_view>;

// Metrics, ids of nexthop objects and ages are 32 bits wide in the kernel's messages.
constexpr std::int64_t idMax = std::numeric_limits<std::uint32_t>::max();

bool has(Names const& names, std::string_view name) {
  return std::ranges::find(names, name) != names.end();
}

/// As dev_valid_name() of the kernel's net/core/dev.c.
bool isLinkName(std::string_view name) {
  // A name that the kernel could not have told is no key of a table either (on_links_codec.cc).
  return !name.empty() && name.size() < IFNAMSIZ && name != "." && name != ".." &&
         std::ranges::none_of(name, [](char c) {
           return c == '/' || c == ':' || c == '\0' ||
                  std::isspace(static_cast<unsigned char>(c)) != 0;
         });
}

Dovel::IntfId linkName(Fields const& fields, std::string_view field) {
  static std::string const expected = fmt::format(
      "an interface name of 1 to {} bytes without '/', ':' or white space", IFNAMSIZ - 1);
  std::string const& name = fields.text(field, expected);
  if (!isLinkName(name)) fields.failExpected(field, expected);
  return Dovel::IntfId(name);
}

template <class Addr>
Addr address(Fields const& fields, std::string_view name) {
  constexpr std::string_view expected =
      Addr::bits == Dovel::IpAddr::bits ? "an IPv4 address" : "an IPv6 address";
  try {
    return Addr(std::string_view(fields.text(name, expected)));
  } catch (Mav::RangeException const&) {
    fields.failExpected(name, expected);
  }
}

template <class Addr>
Addr localAddress(Fields const& fields) {
  auto const addr = address<Addr>(fields, "local");
  // As netlink's decoder: no record may have that key.
  if (addr.isUnspecified()) fields.failExpected("local", "an address that an interface can have");
  return addr;
}

template <class Addr>
std::uint8_t prefixLength(Fields const& fields) {
  return static_cast<std::uint8_t>(fields.wholeNumber("prefixlen", 0, Addr::bits));
}

Dovel::IntfId label(Fields const& fields) {
  static std::string const expected = fmt::format("a label of at most {} bytes", IFNAMSIZ - 1);
  if (!fields.has("label")) return {};
  std::string const& text = fields.text("label", expected);
  // JSON can have a NUL in a text; the record pads labels with it.
  if (text.size() >= IFNAMSIZ || text.find('\0') != text.npos) {
    fields.failExpected("label", expected);
  }
  return Dovel::IntfId(text);
}

/// "02:00:00:00:00:01", of as many octets as there are; of tunnels the IP address of their other
/// end (iproute2, ll_addr_n2a). Nothing for any other text.
std::optional<Dovel::LinkAddr> linkAddrOf(std::string_view text) {
  std::vector<std::uint8_t> octets;
  for (auto rest = text; !rest.empty() && octets.size() < Dovel::LinkAddr::sizeMax;) {
    std::uint8_t octet = 0;
    auto const [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), octet, 16);
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    // An IPv6 address begins with such groups as well: it is tried when the groups come to no end.
    bool const isGroup = error == std::errc{} && (rest.empty() || rest.starts_with(':'));
    if (!isGroup) break;
    octets.push_back(octet);
    if (rest.empty()) return Dovel::LinkAddr(octets);
    rest.remove_prefix(1);
  }
  try {
    if (Dovel::isIp6Text(text)) return Dovel::LinkAddr(Dovel::Ip6Addr(text).octets());
    return Dovel::LinkAddr(Dovel::IpAddr(text).octets());
  } catch (Mav::RangeException const&) {
    return std::nullopt;
  }
}

std::optional<Neighbour::Reach> reachOf(Names const& states) {
  using Reach = Neighbour::Reach;
  constexpr std::array<std::pair<std::string_view, Reach>, 7> reaches{{
      {"INCOMPLETE", Reach::incomplete},
      {"REACHABLE", Reach::reachable},
      {"STALE", Reach::stale},
      {"DELAY", Reach::delay},
      {"PROBE", Reach::probe},
      {"FAILED", Reach::failed},
      {"PERMANENT", Reach::permanent},
  }};
  // NOARP and NONE are not among them: such a neighbour is as good as not there.
  for (auto const& [name, reach] : reaches) {
    if (has(states, name)) return reach;
  }
  return std::nullopt;
}

/// `ip -statistics` prints whole seconds since then.
std::uint64_t updatedAt(Fields const& fields) {
  if (!fields.has("updated")) return 0;
  auto const ago = 100.0 * static_cast<double>(fields.wholeNumber("updated", 0, idMax));
  return static_cast<std::uint64_t>(std::max(Mav::bootTime() * 100.0 - ago, 0.0));
}

template <class Ip>
typename Ip::Destination destination(Fields const& fields) {
  constexpr std::string_view expected = Ip::version == IpVersion::v4
                                            ? R"(an IPv4 prefix or "default")"
                                            : R"(an IPv6 prefix or "default")";
  std::string const& text = fields.text("dst", expected);
  if (text == "default") return {};
  try {
    // `ip` leaves out the length of a route to one host.
    typename Ip::Destination const result(
        text.find('/') == text.npos ? fmt::format("{}/{}", text, unsigned{Ip::Addr::bits}) : text);
    // Of a prefix with host bits the message is the one below.
    if (result.subnet() == result.address()) return result;
  } catch (Mav::RangeException const&) {
  }
  fields.failExpected("dst", expected);
}

/// Other names are of /etc/iproute2, and those of nobody that is known.
std::uint8_t protocolOf(Fields const& fields) {
  constexpr std::string_view left = "boot";  // what `ip` leaves out without -details
  std::string_view const text =
      fields.has("protocol") ? fields.text("protocol", "the name of a protocol") : left;
  std::uint8_t number = 0;
  // `ip` prints a protocol that it has no name for as its number.
  std::from_chars(text.data(), text.data() + text.size(), number);
  for (RouteProtocol const& known : routeProtocols) {
    if (known.name == text) return known.number;
  }
  return number;
}

RouteKind kindOf(Fields const& fields) {
  if (!fields.has("type")) return RouteKind::unicast;
  std::string const& type = fields.text("type", "a route type");
  if (type == "unicast") return RouteKind::unicast;
  if (type == "blackhole") return RouteKind::blackhole;
  if (type == "unreachable") return RouteKind::unreachable;
  if (type == "prohibit") return RouteKind::prohibit;
  return RouteKind::other;
}

/// "0x10", or a name of /etc/iproute2/rt_dsfield: of those the kernel's order alone is known.
std::uint8_t tosOf(Fields const& fields) {
  // A number is that of an encapsulation.
  if (!fields.has("tos") || fields.hasNumber("tos")) return 0;
  std::string_view text = fields.text("tos", "a type of service");
  if (text.starts_with("0x")) text.remove_prefix(2);
  // Any but 0: behind a route without one, as RouteBook chooses.
  std::uint8_t number = 1;
  std::from_chars(text.data(), text.data() + text.size(), number, 16);
  return number;
}

/// `ip` leaves the table out where it is main and no details are asked for, and prints its number
/// where /etc/iproute2 has no name for it.
bool isOfMainTable(Fields const& fields) {
  if (!fields.has("table")) return true;
  std::string const& table = fields.text("table", "the name or number of a table");
  return table == "main" || table == "254";
}

std::uint32_t objectId(Fields const& fields, std::string_view name) {
  return static_cast<std::uint32_t>(fields.wholeNumber(name, 1, idMax));
}

bool hasHop(Fields const& fields) { return fields.has("gateway") || fields.has("dev"); }

void readGateway(Fields const& fields, std::string_view name, NextHop& hop) {
  if (Dovel::isIp6Text(fields.text(name, "an address"))) {
    hop.nextHop6 = address<Dovel::Ip6Addr>(fields, name);
  } else {
    hop.nextHop = address<Dovel::IpAddr>(fields, name);
  }
}

/// A neighbour of another family than the route's is "via": it may be of none that is IP.
NextHop readHop(Fields const& fields, LinkNames& links) {
  NextHop hop;
  if (fields.has("gateway")) readGateway(fields, "gateway", hop);
  if (fields.has("via")) {
    auto const via = fields.object("via");
    if (via.text("family", "the name of a family") == "inet6") readGateway(via, "host", hop);
  }
  if (fields.has("dev")) hop.ifIndex = links.numberOf(fields, "dev");
  return hop;
}

/// Dead is, too, one without carrier where the link has ignore_routes_with_linkdown.
bool isDead(Fields const& fields) {
  return fields.has("flags") && has(fields.names("flags"), "dead");
}

template <class Ip>
void addHop(Fields const& fields, LinkNames& links, ListedRoute<Ip>& route) {
  auto const hop = readHop(fields, links);
  // Of an object the flags are those of the moment, and the object says itself what it consists of.
  if (route.object == 0 && isDead(fields)) {
    route.deadLinks.push_back(hop.ifIndex);
  } else {
    route.hops.push_back(hop);
  }
}

template <class Ip>
void readHops(Fields const& fields, LinkNames& links, ListedRoute<Ip>& route) {
  if (fields.has("nhid")) route.object = objectId(fields, "nhid");
  // A blackhole's routes are listed over lo, and those of IPv6 that do not forward. What `ip`
  // prints there is no next hop of theirs.
  if (route.kind == RouteKind::other && fields.has("dev")) {
    route.link = links.numberOf(fields, "dev");
  }
  bool const mayHaveHops = route.object == 0 && Ip::version == IpVersion::v4;
  if (!mayHaveHops && route.kind != RouteKind::unicast) return;
  if (fields.has("nexthops")) {
    for (Fields const& hop : fields.objects("nexthops")) {
      if (!hasHop(hop)) hop.fail("dev", "missing, and no gateway either");
      addHop(hop, links, route);
    }
  } else if (hasHop(fields)) {
    addHop(fields, links, route);
  } else if (route.object == 0 && route.kind == RouteKind::unicast) {
    fields.fail("dev", "missing, and no gateway, nexthops or nhid either");
  }
  // As netlink's route_message.cc does, and for the same reason: the kernel sends nothing there.
  if (route.hops.empty() && !route.deadLinks.empty()) route.kind = RouteKind::dead;
}

}  // namespace

std::int32_t LinkNames::numberOf(Fields const& fields, std::string_view name) {
  auto const [known, isNew] = names_.try_emplace(linkName(fields, name));
  if (isNew) {
    // From 1 on: 0 is no link.
    known->second = {static_cast<std::int32_t>(names_.size()), fields.place(name)};
  }
  return known->second.number;
}

std::vector<std::int32_t> LinkNames::indexes(Links const& links) const {
  std::vector<std::int32_t> result(names_.size() + 1);
  for (auto const& [name, first] : names_) {
    auto const index = links.linkIndex(name);
    if (!index) {
      throw LoadException(
          fmt::format(R"({}: dev: no link "{}" is known; load the output of 'ip -json link' too)",
                      first.place, name.name()));
    }
    result[static_cast<std::size_t>(first.number)] = *index;
  }
  return result;
}

/// Which link it is a port of, and whether it is the loopback, is left out: that bears on what a
/// live kernel changes alone, and no table shows it.
Link readLink(Fields const& fields) {
  Link link;
  link.name = linkName(fields, "ifname");
  auto const flags = fields.names("flags");
  link.index = static_cast<std::int32_t>(
      fields.wholeNumber("ifindex", 1, std::numeric_limits<std::int32_t>::max()));
  link.isUp = has(flags, "UP");
  link.isRunning = link.isUp && !has(flags, "NO-CARRIER");
  link.hasCarrier = has(flags, "LOWER_UP");
  return link;
}

std::optional<IpVersion> readFamily(Fields const& fields) {
  constexpr std::string_view expected = R"("inet", "inet6" or "mpls")";
  std::string const& name = fields.text("family", expected);
  if (name == "inet") return IpVersion::v4;
  if (name == "inet6") return IpVersion::v6;
  if (name != "mpls") fields.failExpected("family", expected);
  return std::nullopt;
}

Address4 readAddress4(std::int32_t link, Fields const& fields) {
  auto const local = localAddress<Dovel::IpAddr>(fields);
  auto const length = prefixLength<Dovel::IpAddr>(fields);
  // `ip` prints "address" for the peer, and only where it is another than "local".
  auto const peer = fields.has("address") ? address<Dovel::IpAddr>(fields, "address") : local;
  return {.link = link,
          .key = {local, length, peer},
          .state = {.label = label(fields), .isSecondary = fields.flag("secondary")}};
}

Address6 readAddress6(std::int32_t link, Fields const& fields) {
  auto const local = localAddress<Dovel::Ip6Addr>(fields);
  return {
      .link = link,
      .key = local,
      .state = {.length = prefixLength<Dovel::Ip6Addr>(fields),
                .peer = fields.has("address") ? address<Dovel::Ip6Addr>(fields, "address") : local,
                .isTentative = fields.flag("tentative"),
                .hasFailed = fields.flag("dadfailed"),
                .isDeprecated = fields.flag("deprecated")}};
}

std::optional<Neighbour> readNeighbour(Fields const& fields, LinkNames& links) {
  auto const reach = reachOf(fields.names("state"));
  if (!reach) return std::nullopt;
  Neighbour neighbour;
  if (Dovel::isIp6Text(fields.text("dst", "an IP address"))) {
    neighbour.key = address<Dovel::Ip6Addr>(fields, "dst");
  } else {
    neighbour.key = address<Dovel::IpAddr>(fields, "dst");
  }
  neighbour.link = links.numberOf(fields, "dev");
  neighbour.state.reach = *reach;
  neighbour.state.updatedAt = updatedAt(fields);
  if (fields.has("lladdr")) {
    constexpr std::string_view expected = "a link address";
    auto const linkAddress = linkAddrOf(fields.text("lladdr", expected));
    if (!linkAddress) fields.failExpected("lladdr", expected);
    neighbour.state.linkAddress = *linkAddress;
  }
  return neighbour;
}

/// `ip -6 route` tells a preference (RFC 4191) with each route; its "default" has no other mark.
IpVersion versionOfRoute(Fields const& fields) {
  bool const isIp6 = fields.has("pref") || Dovel::isIp6Text(fields.text("dst", "a prefix"));
  return isIp6 ? IpVersion::v6 : IpVersion::v4;
}

template <class Ip>
std::optional<ListedRoute<Ip>> readRoute(Fields const& fields, LinkNames& links) {
  // `ip route` with "table all" prints them in one array.
  if (!isOfMainTable(fields) || fields.has("from")) return std::nullopt;
  ListedRoute<Ip> route;
  route.prefix = destination<Ip>(fields);
  route.kind = kindOf(fields);
  route.protocol = protocolOf(fields);
  route.tos = tosOf(fields);
  if (fields.has("metric")) {
    route.metric = static_cast<std::uint32_t>(fields.wholeNumber("metric", 0, idMax));
  }
  readHops(fields, links, route);
  // In whole seconds of either sign.
  if (fields.has("expires") && fields.wholeNumber("expires", -idMax, idMax) < 0) {
    route.kind = RouteKind::dead;
  }
  return route;
}

template std::optional<ListedRoute<Ip4>> readRoute(Fields const& fields, LinkNames& links);
template std::optional<ListedRoute<Ip6>> readRoute(Fields const& fields, LinkNames& links);

ListedNexthop readNexthop(Fields const& fields, LinkNames& links) {
  ListedNexthop nexthop;
  nexthop.id = objectId(fields, "id");
  nexthop.isBlackhole = fields.has("blackhole");
  if (fields.has("group")) {
    for (Fields const& member : fields.objects("group")) {
      nexthop.members.push_back(objectId(member, "id"));
    }
    // A group's own link and gateway are not printed, nor are a blackhole's.
  } else if (!nexthop.isBlackhole) {
    if (!hasHop(fields)) fields.fail("dev", "missing, and no gateway, group or blackhole either");
    nexthop.hop = readHop(fields, links);
  }
  return nexthop;
}

}  // namespace Kelbase::Ctl
