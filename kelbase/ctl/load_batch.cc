#include "kelbase/ctl/load_batch.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <system_error>

#include "kelbase/ctl/line_source.h"

namespace Kelbase::Ctl {

struct LoadBatch::Kind {
  std::string_view command;  // that prints it
  std::string_view marker;   // the field that tells it from the kinds after it
  bool (LoadBatch::*take)(Fields const&);
};

// Looked through in this order: what `ip address` prints has the fields of a link as well.
LoadBatch::Kind const LoadBatch::kinds[] = {
    {"ip -json address", "addr_info", &LoadBatch::takeAddress},
    {"ip -json link", "ifname", &LoadBatch::takeLink},
    {"ip -json netconf", "interface", &LoadBatch::takeNetconf},
    {"ip -json neighbour", "state", &LoadBatch::takeNeighbour},
    {"ip -json -details route", "dst", &LoadBatch::takeRoute},
    {"ip -json nexthop", "id", &LoadBatch::takeNexthop},
};

std::string LoadBatch::kindList() {
  std::vector<std::string> commands;
  for (Kind const& kind : kinds) commands.push_back(fmt::format("'{}'", kind.command));
  return fmt::format("known are the outputs of {}", fmt::join(commands, ", "));
}

/// By one field: what else an object has to have, its own reader checks.
LoadBatch::Kind const* LoadBatch::kindOf(Fields const& fields) {
  // A nexthop object begins with it (iproute2, print_nexthop), and its encapsulation may have a
  // "dst".
  if (fields.beginWith("id")) return std::prev(std::end(kinds));
  auto const* const found =
      std::ranges::find_if(kinds, [&](Kind const& kind) { return fields.has(kind.marker); });
  return found == std::end(kinds) ? nullptr : found;
}

void LoadBatch::read(std::istream& in, std::string_view file,
                     std::function<void(std::uint64_t)> const& onBlock) {
  // Each array of a file is of one kind, told by its first object.
  Kind const* kind = nullptr;
  bool toldSomething = false;
  auto const take = [&](Node const& object, bool isFirst) {
    if (isFirst) kind = nullptr;
    // `ip` prints {} for an object that a filter of its own left out.
    if (object.children.empty()) return;
    Fields const fields(object, file);
    if (!kind) kind = kindOf(fields);
    if (!kind) {
      throw LoadException(
          fmt::format("{}:{}: of no known kind; {}", file, object.line, kindList()));
    }
    if ((this->*kind->take)(fields)) toldSomething = true;
  };
  try {
    LineSource source(in, onBlock);
    readIpJson(source, file, take);
  } catch (std::system_error const& e) {
    throw LoadException(fmt::format("{}: cannot be read: {}", file, e.code().message()));
  }
  if (!toldSomething) {
    throw LoadException(fmt::format("{}: holds nothing to load; {}", file, kindList()));
  }
}

Link LoadBatch::addLink(Fields const& fields) {
  Link const link = readLink(fields);
  parts_.links = true;
  // One link may stand in two files, and has to be the same in both.
  auto const* known = kernel_.links.find(link.name);
  if (known && *known == link) return link;
  if (known) {
    fields.fail("ifname", fmt::format(R"("{}" was told otherwise at {})", link.name.name(),
                                      linkPlaces_.at(known->index)));
  }
  auto const [place, isFree] = linkPlaces_.emplace(link.index, fields.place("ifname"));
  if (!isFree) {
    fields.fail("ifindex", fmt::format(R"({} is the index of "{}" at {})", link.index,
                                       kernel_.links.linkName(link.index)->name(), place->second));
  }
  kernel_.links.is(link);
  return link;
}

bool LoadBatch::takeLink(Fields const& fields) {
  addLink(fields);
  return true;
}

template <class Objects, class Object>
void LoadBatch::add(Objects& objects, Object const& object, Dovel::IntfId const& link,
                    Fields const& fields) {
  auto const* known = objects.find(object.link, object.key);
  if (known && !(*known == object.state)) {
    fields.fail("local", fmt::format("{} of \"{}\" was told otherwise before",
                                     object.address().stringValue(), link.name()));
  }
  objects.is(object);
}

bool LoadBatch::takeAddress(Fields const& fields) {
  // With a family, `ip address` leaves out the links that have no address of it, and prints no
  // link_type for the others: loading it would remove links that are there.
  if (!fields.has("link_type")) {
    fields.fail("link_type",
                "missing: 'ip -4 address' and 'ip -6 address' leave links out; "
                "load the output of 'ip -json address'");
  }
  Link const link = addLink(fields);
  parts_.addresses = true;
  for (Fields const& address : fields.objects("addr_info")) {
    if (address.empty()) continue;
    auto const version = readFamily(address);
    if (version == IpVersion::v4) {
      add(kernel_.addresses4, readAddress4(link.index, address), link.name, address);
    } else if (version == IpVersion::v6) {
      add(kernel_.addresses6, readAddress6(link.index, address), link.name, address);
    }
  }
  return true;
}

bool LoadBatch::takeNetconf(Fields const& fields) {
  auto const version = readFamily(fields);
  std::string const& interface = fields.text("interface", "the name of an interface");
  if (!version) return false;
  // An interface of a version tells that the output is of that version; "all" has to be in it, too
  // (checkForwarding).
  familyPlaces_.emplace(*version, fields.place("interface"));
  bool const forwards = fields.boolean("forwarding");
  if (interface != "all") return true;
  auto const [told, isNew] =
      forwards_.try_emplace(*version, Forwards{forwards, fields.place("forwarding")});
  // Two outputs of one machine at two moments are not one state.
  if (!isNew && told->second.forwards != forwards) {
    fields.fail("forwarding", fmt::format("was told otherwise at {}", told->second.place));
  }
  kernel_.forwarding.is({*version, forwards});
  return true;
}

bool LoadBatch::takeNeighbour(Fields const& fields) {
  parts_.neighbours = true;
  auto const neighbour = readNeighbour(fields, linkNames_);
  if (!neighbour) return true;
  // `link` is a number of LinkNames here, until finish().
  auto const [told, isNew] = neighbours_.try_emplace({neighbour->link, neighbour->key}, *neighbour);
  if (!isNew && !(told->second.state == neighbour->state)) {
    fields.fail("dst", fmt::format("{} of \"{}\" was told otherwise before", neighbour->address(),
                                   fields.text("dev", "")));
  }
  return true;
}

bool LoadBatch::takeRoute(Fields const& fields) {
  return versionOfRoute(fields) == IpVersion::v4 ? takeRoute(fields, routes4_)
                                                 : takeRoute(fields, routes6_);
}

template <class Ip>
bool LoadBatch::takeRoute(Fields const& fields, std::vector<Route<Ip>>& routes) {
  auto const told = readRoute<Ip>(fields, linkNames_);
  // An output of other tables alone tells nothing of main: it must not empty the tables of routes.
  if (!told) return parts_.routes;
  parts_.routes = true;
  // A million routes have some hundred sets of next hops: each is kept once.
  Route<Ip> const route{.prefix = told->prefix,
                        .metric = told->metric,
                        .object = told->object,
                        .tos = told->tos,
                        .protocol = told->protocol,
                        .kind = told->kind,
                        .hops = &*sharedHops_.insert(told->hops).first};
  routes.push_back(route);
  if (route.object != 0 && route.hops->empty() && route.kind == RouteKind::unicast) {
    // Its next hops stand with the nexthop object alone, which has to be in the files too.
    untold_.try_emplace(route.object, fields.place("nhid"));
  }
  return true;
}

bool LoadBatch::takeNexthop(Fields const& fields) {
  auto const nexthop = readNexthop(fields, linkNames_);
  auto const [told, isNew] =
      nexthops_.try_emplace(nexthop.id, Nexthop{nexthop, fields.place("id")});
  if (!isNew && !(told->second.told == nexthop)) {
    fields.fail("id", fmt::format("{} was told otherwise at {}", nexthop.id, told->second.place));
  }
  return true;
}

void LoadBatch::checkForwarding() const {
  for (auto const& [version, place] : familyPlaces_) {
    if (tellsForwarding(version)) continue;
    throw LoadException(fmt::format(
        R"({}: interface: no object for "all" of family "{}" (made by 'ip netconf show dev'?))",
        place, version == IpVersion::v4 ? "inet" : "inet6"));
  }
}

void LoadBatch::checkNexthops() const {
  if (!nexthops_.empty() && !parts_.routes) {
    throw LoadException(fmt::format(
        "{}: id: nexthop objects without routes; load the output of 'ip -json -details route' too",
        nexthops_.begin()->second.place));
  }
  for (auto const& [id, nexthop] : nexthops_) {
    // A group whose member is missing would lose a next hop without a word.
    for (auto const member : nexthop.told.members) {
      if (nexthops_.contains(member)) continue;
      throw LoadException(
          fmt::format("{}: group: no nexthop object {} in the files", nexthop.place, member));
    }
  }
  for (auto const& [id, place] : untold_) {
    if (nexthops_.contains(id)) continue;
    throw LoadException(fmt::format(
        "{}: nhid: no nexthop object {} in the files; load the output of 'ip -json nexthop' too",
        place, id));
  }
}

LoadBatch::Hops LoadBatch::resolved(Hops hops) const {
  // Number 0, no link, stays 0 (LinkNames::indexes).
  for (NextHop& hop : hops) hop.ifIndex = indexes_[static_cast<std::size_t>(hop.ifIndex)];
  return hops;
}

template <class Ip>
void LoadBatch::finishRoutes(std::vector<Route<Ip>> const& told, Routes<Ip>& routes) {
  ListedRoute<Ip> listed;
  for (auto const& route : told) {
    // One ListedRoute for all: its vectors keep their memory.
    listed.prefix = route.prefix;
    listed.metric = route.metric;
    listed.tos = route.tos;
    listed.protocol = route.protocol;
    listed.kind = route.kind;
    listed.object = kernel_.nexthops.isKnown(route.object) ? route.object : 0;
    listed.hops = listed.object == 0 ? resolved(*route.hops) : Hops();
    // As in a dump: the routes of a prefix stand in the files in the kernel's order.
    routes.is(listed, RouteRank::listed);
  }
}

void LoadBatch::finish() {
  checkForwarding();
  checkNexthops();
  // Files come in any order, so that names of links are resolved when all have been read.
  indexes_ = linkNames_.indexes(kernel_.links);
  for (auto& [key, neighbour] : neighbours_) {
    neighbour.link = indexes_[static_cast<std::size_t>(neighbour.link)];
    kernel_.neighbours.is(neighbour);
  }
  // Before the routes, which take an object that is not known for what they say of it themselves.
  for (auto& [id, nexthop] : nexthops_) {
    nexthop.told.hop = resolved({nexthop.told.hop}).front();
    kernel_.nexthops.is(nexthop.told);
  }
  // Their memory goes with them: the model has what it needs.
  finishRoutes(std::exchange(routes4_, {}), kernel_.routes4);
  finishRoutes(std::exchange(routes6_, {}), kernel_.routes6);
}

}  // namespace Kelbase::Ctl
