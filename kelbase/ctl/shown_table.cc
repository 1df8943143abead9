#include "kelbase/ctl/shown_table.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <map>
#include <utility>

#include "kelbase/ctl/shown_routes.h"
#include "platform/pondo/tables/tables.h"

namespace Kelbase::Ctl {
namespace {

using Address4 = Pondo::Address4Table;
using Address6 = Pondo::Address6Table;
using Forwarding = Pondo::ForwardingTable;
using Link = Pondo::LinkTable;
using Neighbour = Pondo::NeighbourTable;

// The columns of each table, and below them the row of a record, cell by cell.
constexpr std::array<Column, 2> forwardingColumns{{
    {"FAMILY", "family"},
    {"ROUTING", "routing", "on", "off"},
}};

Row rowOf(Pondo::Family family, Forwarding::Record const& record) {
  return {std::string(family == Pondo::Family::ipv4 ? "ipv4" : "ipv6"), record.routing};
}

constexpr std::array<Column, 4> linkColumns{{
    {"INTERFACE", "name"},
    {"IFINDEX", "ifIndex"},
    {"ADMIN", "adminUp", "up", "down"},
    {"OPER", "operUp", "up", "down"},
}};

Row rowOf(Link::Key const& name, Link::Record const& record) {
  return {name.stringValue(), std::int64_t{record.ifIndex}, record.adminUp, record.operUp};
}

constexpr std::array<Column, 7> addressColumns{{
    {"INTERFACE", "interface"},
    {"FAMILY", "family"},
    {"ADDRESS", "address"},
    {"LENGTH", "prefixLength"},
    {"PEER", "peer"},
    {"LABEL", "label"},
    {"FLAGS", "flags"},
}};

template <class Addr>
std::string peerText(Addr const& local, Addr const& peer) {
  return peer == local ? std::string() : peer.stringValue();
}

/// "tentative,deprecated": the names of those that are set.
std::string flagText(std::initializer_list<std::pair<bool, char const*>> flags) {
  std::string text;
  for (auto const& [set, name] : flags) {
    if (!set) continue;
    if (!text.empty()) text += ',';
    text += name;
  }
  return text;
}

Row rowOf(Address4::Key const& key, Address4::Record const& record) {
  return {key.link.stringValue(),
          std::string("ipv4"),
          key.local.stringValue(),
          std::int64_t{key.length},
          peerText(key.local, key.peer),
          record.label.stringValue(),
          flagText({{record.secondary, "secondary"}})};
}

Row rowOf(Address6::Key const& key, Address6::Record const& record) {
  return {key.link.stringValue(),
          std::string("ipv6"),
          key.local.stringValue(),
          std::int64_t{record.length},
          peerText(key.local, record.peer),
          std::string(),
          flagText({{record.tentative, "tentative"},
                    {record.dadFailed, "dadfailed"},
                    {record.deprecated, "deprecated"}})};
}

constexpr std::array<Column, 5> neighbourColumns{{
    {"INTERFACE", "interface"},
    {"ADDRESS", "address"},
    {"LINK ADDRESS", "linkAddress"},
    {"PERMANENT", "permanent"},
    {"STATE", "state"},
}};

std::string stateText(Neighbour::State state) {
  // In the order of Neighbour::State.
  constexpr std::array<char const*, 6> names{"incomplete", "reachable", "stale",
                                             "delay",      "probe",     "failed"};
  return names.at(static_cast<std::size_t>(state));
}

std::string addressText(Neighbour::Key const& key) {
  auto const& octets = key.octets;
  if (key.type != Pondo::InetAddressType::ipv4) return Dovel::Ip6Addr(octets).stringValue();
  return Dovel::IpAddr({octets[0], octets[1], octets[2], octets[3]}).stringValue();
}

/// In the place of the link's name its ifIndex: readNeighbours() has the names.
Row rowOf(Neighbour::Key const& key, Neighbour::Record const& record) {
  return {std::int64_t{key.ifIndex}, addressText(key), record.linkAddress.stringValue(),
          record.origin != Neighbour::Origin::learned, stateText(record.state)};
}

template <class Table>
std::optional<std::string> readSlice(Pondo::Snapshot const& snapshot, std::string_view from,
                                     std::vector<Row>& rows) {
  return snapshot.scan<Table>(from, Pondo::sliceMax, [&](auto const& key, auto const& record) {
    rows.push_back(rowOf(key, record));
  });
}

template <class Table>
std::optional<std::string> countSlice(Pondo::Snapshot const& snapshot, std::string_view from,
                                      std::size_t& wellFormed) {
  return snapshot.scan<Table>(from, Pondo::sliceMax,
                              [&](auto const&, auto const&) { ++wellFormed; });
}

std::optional<std::string> readAddresses(Pondo::Snapshot const& snapshot, std::string_view from,
                                         std::vector<Row>& rows) {
  return sliceOfTwo(
      from, [&](auto key) { return readSlice<Address4>(snapshot, key, rows); },
      [&](auto key) { return readSlice<Address6>(snapshot, key, rows); });
}

template <class First, class Second>
std::optional<std::string> countSliceOfTwo(Pondo::Snapshot const& snapshot, std::string_view from,
                                           std::size_t& wellFormed) {
  return sliceOfTwo(
      from, [&](auto key) { return countSlice<First>(snapshot, key, wellFormed); },
      [&](auto key) { return countSlice<Second>(snapshot, key, wellFormed); });
}

/// The table has the index of a link, and the operator its name.
std::optional<std::string> readNeighbours(Pondo::Snapshot const& snapshot, std::string_view from,
                                          std::vector<Row>& rows) {
  // Rows of an earlier slice may stand before.
  auto const first = rows.size();
  auto next = readSlice<Neighbour>(snapshot, from, rows);
  // Of the same snapshot. All at once: there are far fewer links than neighbours.
  std::map<std::int64_t, std::string> names;
  snapshot.scan<Link>("", Pondo::noLimit, [&](auto const& name, auto const& record) {
    names.emplace(record.ifIndex, name.stringValue());
  });
  for (auto row = first; row < rows.size(); ++row) {
    Cell& link = rows[row].front();
    // Empty where the link has no name now: the neighbour was heard of before it.
    link = names[std::get<std::int64_t>(link)];
  }
  return next;
}

// In alphabetical order, in which they are told.
constexpr std::array allTables{
    ShownTable{"addresses", "the IPv4 and IPv6 addresses of the interfaces", addressColumns,
               &readAddresses, &countSliceOfTwo<Address4, Address6>},
    ShownTable{"fecs", "the sets of next hops that routes share", fecColumns, &readFecs,
               &countSlice<Pondo::FecTable>},
    ShownTable{"forwarding", "whether the host forwards packets, by IP version", forwardingColumns,
               &readSlice<Forwarding>, &countSlice<Forwarding>},
    ShownTable{"links", "the host's interfaces", linkColumns, &readSlice<Link>, &countSlice<Link>},
    ShownTable{"neighbours", "the IPv4 and IPv6 neighbours of the interfaces", neighbourColumns,
               &readNeighbours, &countSlice<Neighbour>},
    ShownTable{"routes", "the IPv4 and IPv6 routes of the main table, one a prefix", routeColumns,
               &readRoutes, &countSliceOfTwo<Pondo::RouteTable, Pondo::Route6Table>},
};

}  // namespace

std::span<ShownTable const> shownTables() { return allTables; }

ShownTable const* findShownTable(std::string_view name) {
  auto const found = std::ranges::find(allTables, name, &ShownTable::name);
  return found == allTables.end() ? nullptr : &*found;
}

}  // namespace Kelbase::Ctl
