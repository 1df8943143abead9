#include "kelbase/ctl_table_view.h"

#include <algorithm>
#include <array>

#include "platform/pondo/codec.h"
#include "platform/pondo/tables.h"

namespace Kelbase::Ctl {
namespace {

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

template <class Table, std::size_t size>
constexpr auto columnsOf(std::array<Field<Table>, size> const& fields) {
  std::array<Column, size> columns{};
  for (std::size_t i = 0; i < size; ++i) columns[i] = fields[i].column;
  return columns;
}

constexpr auto forwardingColumns = columnsOf(forwardingFields);
constexpr auto linkColumns = columnsOf(linkFields);

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
  return snapshot.scanBytes(
      Table::id, from, Pondo::sliceMax, [&](std::string_view key, std::string_view record) {
        ++counts.records;
        if (!Pondo::decodeKey<Table>(key) || !Pondo::decodeRecord<Table>(record)) {
          ++counts.malformed;
        }
      });
}

template <class Table, auto const& fields>
constexpr TableView view(std::string_view name, std::span<Column const> columns,
                         std::string_view help) {
  return {name, help, columns, &readSlice<Table, fields>, &countSlice<Table>};
}

constexpr std::array views{
    view<Forwarding, forwardingFields>("forwarding", forwardingColumns,
                                       "whether the host forwards packets, by IP version"),
    view<Link, linkFields>("links", linkColumns, "the host's interfaces"),
};

}  // namespace

std::span<TableView const> tableViews() { return views; }

TableView const* findTableView(std::string_view name) {
  auto const found = std::ranges::find(views, name, &TableView::name);
  return found == views.end() ? nullptr : &*found;
}

}  // namespace Kelbase::Ctl
