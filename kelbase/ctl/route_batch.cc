#include "kelbase/ctl/route_batch.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <tuple>

#include <fmt/format.h>

#include "kelbase/ctl/ip_fields.h"
#include "kelbase/model/route_protocols.h"

namespace Kelbase::Ctl {
namespace {

using Pondo::Fib::FecId;
using Pondo::Fib::Via;

// Ids of 32 bits are the kernel's; sets that it does not name come behind them.
constexpr std::uint64_t inlineFirst = std::uint64_t{1} << 32U;
constexpr std::int64_t idMax = std::numeric_limits<std::uint32_t>::max();

bool isIp6Text(std::string_view text) { return text.find(':') != text.npos; }

/// Other names are of /etc/iproute2, and other numbers of nobody that is known.
RouteProtocol protocol(Fields const& fields) {
  constexpr std::string_view left = "boot";  // what `ip` leaves out without -details
  std::string_view const text =
      fields.has("protocol") ? fields.text("protocol", "the name of a protocol") : left;
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  for (RouteProtocol const& known : routeProtocols) {
    if (known.name == text || known.number == number) return known;
  }
  return {};
}

/// Nothing for the types that say nothing of where a packet goes.
std::optional<Routing::Fib::RouteType> routeType(Fields const& fields) {
  std::string const type = fields.has("type") ? fields.text("type", "a route type") : "unicast";
  if (type == "blackhole") return Routing::Fib::routeTypeBlackhole;
  if (type == "unreachable") return Routing::Fib::routeTypeUnreachable;
  if (type == "prohibit") return Routing::Fib::routeTypeProhibit;
  if (type != "unicast") return std::nullopt;
  return protocol(fields).type;
}

bool carriesTraffic(Routing::Fib::RouteType type) { return type > Routing::Fib::routeTypeProhibit; }

bool isOfMainTable(Fields const& fields) {
  if (!fields.has("table")) return true;
  std::string const& table = fields.text("table", "the name or number of a table");
  return table == "main" || table == "254";
}

Dovel::Prefix destination(Fields const& fields) {
  constexpr std::string_view expected = R"(an IPv4 prefix or "default")";
  std::string const& text = fields.text("dst", expected);
  if (text == "default") return {};
  try {
    return Dovel::Prefix(text.find('/') == text.npos ? text + "/32" : text);
  } catch (Mav::RangeException const&) {
    fields.failExpected("dst", expected);
  }
}

/// The same set has the same id in every file, so that loading again changes little.
FecId inlineId(std::vector<Via> const& vias) {
  std::uint64_t hash = 0xcbf29ce484222325;  // FNV-1a
  auto const add = [&](std::uint64_t value) { hash = (hash ^ value) * 0x100000001b3; };
  for (Via const& via : vias) {
    add(via.nextHop.value());
    for (char const c : via.intfId.name()) add(static_cast<unsigned char>(c));
    add('/');
  }
  return FecId(inlineFirst | hash >> 32U);
}

FecId objectId(Fields const& fields, std::string_view name) {
  return FecId(static_cast<std::uint64_t>(fields.wholeNumber(name, 1, idMax)));
}

}  // namespace

bool RouteBatch::takeRoute(Fields const& fields) {
  // `ip -6 route` tells a preference (RFC 4191) with each route; its "default" has no other mark.
  if (fields.has("pref") || isIp6Text(fields.text("dst", "a prefix"))) return false;
  tellsRoutes_ = tellsRoutes_ || isOfMainTable(fields);
  auto const type = routeType(fields);
  if (!type || !isOfMainTable(fields)) return tellsRoutes_;
  Entry entry;
  entry.prefix = destination(fields);
  entry.hasTos = fields.has("tos");
  entry.route.routeType = *type;
  entry.route.preference = Routing::RoutePreference(protocol(fields).preference);
  if (fields.has("metric")) {
    entry.route.metric =
        Routing::RouteMetric(static_cast<std::uint32_t>(fields.wholeNumber("metric", 0, idMax)));
  }
  if (carriesTraffic(*type)) entry.route.fecId = takeNextHops(fields);
  entries_.push_back(entry);
  return true;
}

FecId RouteBatch::takeNextHops(Fields const& fields) {
  Vias const vias = takeVias(fields);
  if (!fields.has("nhid")) {
    if (vias.empty()) fields.fail("dev", "missing, and no gateway, nexthops or nhid either");
    return inlineSet(vias, fields.place("dst"));
  }
  FecId const id = objectId(fields, "nhid");
  usedPlaces_.emplace(id, fields.place("nhid"));
  if (vias.empty()) return id;
  auto const [told, added] = ownSets_.emplace(id, OwnSet{vias, fields.place("nhid")});
  if (!added && told->second.vias != vias) {
    fields.fail("nhid", fmt::format("the next hops of {} were told otherwise at {}", id.value(),
                                    told->second.place));
  }
  return id;
}

RouteBatch::Vias RouteBatch::takeVias(Fields const& fields) {
  Vias vias;
  if (!fields.has("nexthops")) {
    if (auto const via = takeVia(fields)) vias.push_back(*via);
    return vias;
  }
  for (Fields const& hop : fields.objects("nexthops")) {
    auto const via = takeVia(hop);
    if (!via) hop.fail("dev", "missing, and no gateway either");
    if (vias.size() < Pondo::Fib::viasMax) vias.push_back(*via);
  }
  return vias;
}

std::optional<Via> RouteBatch::takeVia(Fields const& fields) {
  Via via;
  if (fields.has("gateway")) {
    std::string const& text = fields.text("gateway", "an address");
    if (!isIp6Text(text)) via.nextHop = ipAddress<Dovel::IpAddr>(fields, "gateway");
  }
  if (fields.has("dev")) {
    via.intfId = interfaceName(fields, "dev");
    linkPlaces_.emplace(via.intfId, fields.place("dev"));
  }
  if (via.intfId.empty() && via.nextHop.isUnspecified()) return std::nullopt;
  return via;
}

FecId RouteBatch::inlineSet(Vias const& vias, std::string const& place) {
  for (FecId id = inlineId(vias);; id = FecId(id.value() + 1)) {
    auto const [set, added] = ownSets_.emplace(id, OwnSet{vias, place});
    if (added || set->second.vias == vias) return id;
  }
}

bool RouteBatch::takeNexthop(Fields const& fields) {
  FecId const id = objectId(fields, "id");
  Nexthop nexthop;
  nexthop.place = fields.place("id");
  nexthop.blackhole = fields.has("blackhole");
  if (fields.has("group")) {
    for (Fields const& member : fields.objects("group")) {
      nexthop.members.push_back(objectId(member, "id"));
    }
  } else if (!nexthop.blackhole) {
    auto const via = takeVia(fields);
    if (!via) fields.fail("dev", "missing, and no gateway, group or blackhole either");
    nexthop.vias.push_back(*via);
  }
  auto const [told, added] = nexthops_.emplace(id, nexthop);
  if (!added && !(told->second == nexthop)) {
    fields.fail("id", fmt::format("{} was told otherwise at {}", id.value(), told->second.place));
  }
  return true;
}

std::optional<RouteBatch::Vias> RouteBatch::viasOf(FecId id) const {
  auto const found = nexthops_.find(id);
  if (found == nexthops_.end()) {
    if (auto const own = ownSets_.find(id); own != ownSets_.end()) return own->second.vias;
    throw LoadException(fmt::format(
        "{}: nhid: no nexthop object {} in the files; load the output of 'ip -json nexthop' too",
        usedPlaces_.at(id), id.value()));
  }
  Nexthop const& nexthop = found->second;
  if (nexthop.blackhole) return std::nullopt;
  Vias vias = nexthop.vias;
  for (FecId const member : nexthop.members) {
    auto const object = nexthops_.find(member);
    if (object == nexthops_.end() || object->second.vias.empty()) {
      if (object != nexthops_.end() && object->second.blackhole) return std::nullopt;
      throw LoadException(fmt::format("{}: group: no nexthop object {} in the files", nexthop.place,
                                      member.value()));
    }
    if (vias.size() < Pondo::Fib::viasMax) vias.push_back(object->second.vias.front());
  }
  return vias;
}

FibRoutes RouteBatch::chosenRoutes() {
  std::ranges::stable_sort(entries_, {}, [](Entry const& entry) {
    return std::tuple(entry.prefix, entry.route.metric, entry.hasTos);
  });
  FibRoutes routes;
  routes.reserve(entries_.size());
  for (Entry const& entry : entries_) {
    if (!routes.empty() && routes.back().first == entry.prefix) continue;
    routes.emplace_back(entry.prefix, entry.route);
  }
  entries_ = {};
  return routes;
}

void RouteBatch::checkLinks(Links const& links) const {
  for (auto const& [link, place] : linkPlaces_) {
    if (links.contains(link)) continue;
    throw LoadException(
        fmt::format(R"({}: dev: no link "{}" is known; load the output of 'ip -json link' too)",
                    place, link.name()));
  }
}

Fib RouteBatch::resolved(Links const& links) {
  checkLinks(links);
  Fib fib;
  fib.routes = chosenRoutes();
  for (auto& [prefix, route] : fib.routes) {
    if (!route.fecId || fib.fecs.contains(route.fecId)) continue;
    auto vias = viasOf(route.fecId);
    if (!vias) {
      route.fecId = FecId();
      route.routeType = Routing::Fib::routeTypeBlackhole;
      continue;
    }
    for (Via& via : *vias) {
      if (!via.intfId.empty()) via.ifIndex = links.at(via.intfId).ifIndex;
    }
    fib.fecs.emplace(route.fecId, Pondo::Fib::Fec{std::move(*vias)});
  }
  return fib;
}

}  // namespace Kelbase::Ctl
