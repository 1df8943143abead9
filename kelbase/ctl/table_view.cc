#include "kelbase/ctl/table_view.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <map>
#include <utility>

#include "kelbase/ctl/route_view.h"
#include "platform/pondo/tables/codec.h"
#include "platform/pondo/tables/tables.h"

namespace Kelbase::Ctl {
namespace {

// A column and how its cell is made, side by side: the tables below read as an operator sees them.
template <class Table>
struct Field {
  Column column;
  Cell (*cell)(typename Table::Key const&, typename Table::Record const&);
};

using Forwarding = Pondo::ForwardingTable;
constexpr std::array<Field<Forwarding>, 2> forwardingFields{{
    {{"FAMILY", "family"},
     [](auto const& family, auto const&) -> Cell {
       return std::string(family == Pondo::Family::ipv4 ? "ipv4" : "ipv6");
     }},
    {{"ROUTING", "routing", "on", "off"},
     [](auto const&, auto const& record) -> Cell { return record.routing; }},
}};

using Link = Pondo::LinkTable;
constexpr std::array<Field<Link>, 4> linkFields{{
    {{"INTERFACE", "name"},
     [](auto const& name, auto const&) -> Cell { return name.stringValue(); }},
    {{"IFINDEX", "ifIndex"},
     [](auto const&, auto const& record) -> Cell { return std::int64_t{record.ifIndex}; }},
    {{"ADMIN", "adminUp", "up", "down"},
     [](auto const&, auto const& record) -> Cell { return record.adminUp; }},
    {{"OPER", "operUp", "up", "down"},
     [](auto const&, auto const& record) -> Cell { return record.operUp; }},
}};

using Address4 = Pondo::Address4Table;
using Address6 = Pondo::Address6Table;

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

// The columns of both address tables are those of the first one.
constexpr std::array<Field<Address4>, 7> address4Fields{{
    {{"INTERFACE", "interface"},
     [](auto const& key, auto const&) -> Cell { return key.link.stringValue(); }},
    {{"FAMILY", "family"}, [](auto const&, auto const&) -> Cell { return std::string("ipv4"); }},
    {{"ADDRESS", "address"},
     [](auto const& key, auto const&) -> Cell { return key.local.stringValue(); }},
    {{"LENGTH", "prefixLength"},
     [](auto const& key, auto const&) -> Cell { return std::int64_t{key.length}; }},
    {{"PEER", "peer"},
     [](auto const& key, auto const&) -> Cell { return peerText(key.local, key.peer); }},
    {{"LABEL", "label"},
     [](auto const&, auto const& record) -> Cell { return record.label.stringValue(); }},
    {{"FLAGS", "flags"},
     [](auto const&, auto const& record) -> Cell {
       return flagText({{record.secondary, "secondary"}});
     }},
}};

constexpr std::array<Field<Address6>, 7> address6Fields{{
    {address4Fields[0].column,
     [](auto const& key, auto const&) -> Cell { return key.link.stringValue(); }},
    {address4Fields[1].column,
     [](auto const&, auto const&) -> Cell { return std::string("ipv6"); }},
    {address4Fields[2].column,
     [](auto const& key, auto const&) -> Cell { return key.local.stringValue(); }},
    {address4Fields[3].column,
     [](auto const&, auto const& record) -> Cell { return std::int64_t{record.length}; }},
    {address4Fields[4].column,
     [](auto const& key, auto const& record) -> Cell { return peerText(key.local, record.peer); }},
    {address4Fields[5].column, [](auto const&, auto const&) -> Cell { return std::string(); }},
    {address4Fields[6].column,
     [](auto const&, auto const& record) -> Cell {
       return flagText({{record.tentative, "tentative"},
                        {record.dadFailed, "dadfailed"},
                        {record.deprecated, "deprecated"}});
     }},
}};

using Neighbour = Pondo::NeighbourTable;

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

constexpr std::array<Field<Neighbour>, 5> neighbourFields{{
    {{"INTERFACE", "interface"},  // in its place the ifIndex: readNeighbours() has the names
     [](auto const& key, auto const&) -> Cell { return std::int64_t{key.ifIndex}; }},
    {{"ADDRESS", "address"}, [](auto const& key, auto const&) -> Cell { return addressText(key); }},
    {{"LINK ADDRESS", "linkAddress"},
     [](auto const&, auto const& record) -> Cell { return record.linkAddress.stringValue(); }},
    {{"PERMANENT", "permanent"},
     [](auto const&, auto const& record) -> Cell {
       return record.origin != Neighbour::Origin::learned;
     }},
    {{"STATE", "state"},
     [](auto const&, auto const& record) -> Cell { return stateText(record.state); }},
}};

// Whoever prints wants columns alone, in an array that outlives the output.
template <class Table, std::size_t size>
constexpr auto columnsOf(std::array<Field<Table>, size> const& fields) {
  std::array<Column, size> columns{};
  for (std::size_t i = 0; i < size; ++i) columns[i] = fields[i].column;
  return columns;
}

constexpr auto forwardingColumns = columnsOf(forwardingFields);
constexpr auto linkColumns = columnsOf(linkFields);
constexpr auto addressColumns = columnsOf(address4Fields);
constexpr auto neighbourColumns = columnsOf(neighbourFields);

template <class Table, auto const& fields>
std::optional<std::string> readSlice(Pondo::Snapshot const& snapshot, std::string_view from,
                                     std::vector<Row>& rows) {
  return snapshot.scan<Table>(from, Pondo::sliceMax, [&](auto const& key, auto const& record) {
    Row& row = rows.emplace_back();
    row.reserve(fields.size());
    for (auto const& field : fields) row.push_back(field.cell(key, record));
  });
}

template <class Table>
std::optional<std::string> countSlice(Pondo::Snapshot const& snapshot, std::string_view from,
                                      Counts& counts) {
  return snapshot.scanBytes(Table::id, from, Pondo::sliceMax,
                            [&](std::string_view key, std::string_view record) {
                              ++counts.records;
                              // Looked at here: scanBytes() hands records out unread, and counts
                              // none.
                              if (!Table::decodeKey(key) || !Table::decodeRecord(record)) {
                                ++counts.malformed;
                              }
                            });
}

std::optional<std::string> readAddresses(Pondo::Snapshot const& snapshot, std::string_view from,
                                         std::vector<Row>& rows) {
  return sliceOfTwo(
      from, [&](auto key) { return readSlice<Address4, address4Fields>(snapshot, key, rows); },
      [&](auto key) { return readSlice<Address6, address6Fields>(snapshot, key, rows); });
}

std::optional<std::string> countAddresses(Pondo::Snapshot const& snapshot, std::string_view from,
                                          Counts& counts) {
  return sliceOfTwo(
      from, [&](auto key) { return countSlice<Address4>(snapshot, key, counts); },
      [&](auto key) { return countSlice<Address6>(snapshot, key, counts); });
}

std::optional<std::string> countRoutes(Pondo::Snapshot const& snapshot, std::string_view from,
                                       Counts& counts) {
  return sliceOfTwo(
      from, [&](auto key) { return countSlice<Pondo::RouteTable>(snapshot, key, counts); },
      [&](auto key) { return countSlice<Pondo::Route6Table>(snapshot, key, counts); });
}

/// The table has the index of a link, and the operator its name.
std::optional<std::string> readNeighbours(Pondo::Snapshot const& snapshot, std::string_view from,
                                          std::vector<Row>& rows) {
  // Rows of an earlier slice may stand before.
  auto const first = rows.size();
  auto next = readSlice<Neighbour, neighbourFields>(snapshot, from, rows);
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

template <class Table, auto const& fields>
constexpr TableView view(std::string_view name, std::span<Column const> columns,
                         std::string_view help) {
  return {name, help, columns, &readSlice<Table, fields>, &countSlice<Table>};
}

// In alphabetical order, in which they are told.
constexpr std::array views{
    TableView{"addresses", "the IPv4 and IPv6 addresses of the interfaces", addressColumns,
              &readAddresses, &countAddresses},
    TableView{"fecs", "the sets of next hops that routes share", fecColumns, &readFecs,
              &countSlice<Pondo::FecTable>},
    view<Forwarding, forwardingFields>("forwarding", forwardingColumns,
                                       "whether the host forwards packets, by IP version"),
    view<Link, linkFields>("links", linkColumns, "the host's interfaces"),
    TableView{"neighbours", "the IPv4 and IPv6 neighbours of the interfaces", neighbourColumns,
              &readNeighbours, &countSlice<Neighbour>},
    TableView{"routes", "the IPv4 and IPv6 routes of the main table, one a prefix", routeColumns,
              &readRoutes, &countRoutes},
};

}  // namespace

std::span<TableView const> tableViews() { return views; }

TableView const* findTableView(std::string_view name) {
  auto const found = std::ranges::find(views, name, &TableView::name);
  return found == views.end() ? nullptr : &*found;
}

}  // namespace Kelbase::Ctl
