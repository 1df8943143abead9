#pragma once
// A table of the module, served through net-snmp's table iterator over one collection of a cache
// entity. A table is a class that says what differs:
//
//   struct IpAddrTable {
//     using Entity = IpSnmp::IpMib;                 // found by path, at Entity::path
//     using Rows = Entity::IpAddrTableMap;          // its iterator is a row
//     using Row = Rows::IteratorConst;
//     static constexpr std::string_view name = "ipAddrTable";
//     static constexpr std::array<oid, 8> objectId{1, 3, 6, 1, 2, 1, 4, 20};
//     static constexpr int modes = HANDLER_CAN_RONLY;
//     static Rows const& rows(Entity const& entity) { return entity.ipAddrTableMap(); }
//     static constexpr std::tuple indexes{...};     // table_index.h, in order
//     static constexpr std::array columns{...};     // table_column.h, in order
//   };
//
// Its source makes the eight functions of table_functions.h from this (table_callbacks.h):
//
//   template class TableFunctions<IpAddrTable>;
//
// Loop and data contexts are rows on the heap, owned by net-snmp. Nothing persists between
// requests. The entity outlives the registration, which holds a plain pointer to it.
//
// A collection that is ordered by key is declared sorted to net-snmp, and served by the row server
// (platform/snmp/row_server.h), which stands before net-snmp's iterator and walks the collection
// itself. Get-first finds a hint in its loop context (table_hint.h), or null.
//
// TableFrame may throw: TableFunctions stands between it and net-snmp.

#include <string>
#include <utility>

#include "handlers/table/table_hint.h"
#include "handlers/table/table_requests.h"
#include "handlers/table/table_rows.h"
#include "handlers/trace.h"
#include "platform/mav/object.h"
#include "platform/snmp/set_value.h"
#include "platform/snmp/snmp_util.h"

namespace IpSnmp {

template <class Table>
class TableFrame {
 public:
  using Entity = typename Table::Entity;
  using Rows = typename Table::Rows;
  using Row = typename Table::Row;

  /// Registers the table, with callbacks that lead back to the functions below. What it throws is
  /// for want of memory; a component of the index that net-snmp has none for is told in a trace,
  /// and the table goes without it.
  static void initialize(netsnmp_iterator_info const& callbacks, Netsnmp_Node_Handler* handler);
  /// A new loop context, on the row that the hint in it names, else on the first; the indexes of
  /// the row in `putIndexData`. Null without a row; the loop context is the caller's to free then
  /// too. `info->myvoid` is the entity, or null.
  static netsnmp_variable_list* first(void** loopContext, netsnmp_variable_list* putIndexData,
                                      netsnmp_iterator_info const* info);
  /// Moves the loop context to the row that is behind it by now. The data context is told in a
  /// trace, and nothing else.
  static netsnmp_variable_list* next(void* loopContext, void const* dataContext,
                                     netsnmp_variable_list* putIndexData);
  /// The indexes of the row, in `putIndexData`, which it gives back; null at the end, or for want
  /// of memory.
  static netsnmp_variable_list* iterationHelper(Row const& row,
                                                netsnmp_variable_list* putIndexData);
  /// A copy of the row, which the caller frees by free(), as it does a loop context.
  static void* makeDataContext(void const* loopContext);
  static void free(char const* function, void* context);
  /// The part that is the same for all rows; made at the first call.
  static TableDescription const& description();

 private:
  // Only of a sorted table does net-snmp put a hint into the loop context
  // (NETSNMP_ITERATOR_FLAG_SORTED).
  using Hint = typename TableHint<Table>::Request;
  static constexpr bool isSorted = TableRows<Table>::isSorted;

  /// On the row that the hint names, which `hintMatched` tells, else on the first.
  static Row start(Rows const& rows, Hint const* hint, bool& hintMatched);
};

// Each line is headed by the name of the function that net-snmp called. A level that is off costs a
// look at it; nothing is formatted.
#define FRAME_TRACE(level, suffix, stream)                                   \
  MAV_TRACE_AS(snmpTraceHandle(), level, functionName<Table>(suffix).data(), \
               Table::name << suffix << stream) /* NOLINT(bugprone-macro-parentheses) */

template <class Table>
TableDescription const& TableFrame<Table>::description() {
  static TableDescription const table{
      Table::name,
      Entity::path,
      Table::objectId,
      Table::modes,
      Table::columns,
      [](std::ostream& out, void const* row) { out << static_cast<Row const*>(row)->key(); }};
  return table;
}

template <class Table>
void TableFrame<Table>::initialize(netsnmp_iterator_info const& callbacks,
                                   Netsnmp_Node_Handler* handler) {
  auto const& table = description();
  auto const initializer = "initialize_table_" + std::string(Table::name);
  if (snmpTraceHandle().enabled(1)) {
    MAV_TRACE_AS(snmpTraceHandle(), 1, initializer,
                 initializer << " initializing oid " << printedOid(table));
  }
  // Null where nothing is mounted: the table is registered all the same, and has no rows.
  auto const entity = Mav::objectCast<Entity>(SnmpUtil::getEntityRelative(Entity::path));
  auto registered = std::make_unique<Snmp::IteratorTable>(columnNumbers(table));
  forEachIndex<Table>([&](auto const& index) {
    using Syntax = typename std::remove_cvref_t<decltype(index)>::Syntax;
    if (!registered->addIndex(Syntax::declaredType)) {
      MAV_TRACE_AS(snmpTraceHandle(), 0, initializer,
                   "Failed to set up " << index.name << " in netsnmp table_info");
    }
  });
  registered->callbacksAre(callbacks);
  // A plain pointer: whoever unmounts the entity has the registrations undone first
  // (State::MountObserver).
  registered->iterator().myvoid = entity.get();
  // Last: the row server copies the list of indexes.
  if constexpr (isSorted) {
    registered->sortedRowsAre(std::make_unique<TableRows<Table>>(entity.get()));
  }
  registerTable(table, handler, std::move(registered));
  MAV_TRACE_AS(snmpTraceHandle(), 8, initializer, "Initialized table " << Table::name << ' ');
}

template <class Table>
netsnmp_variable_list* TableFrame<Table>::first(void** loopContext,
                                                netsnmp_variable_list* putIndexData,
                                                netsnmp_iterator_info const* info) {
  // What stands in the loop context is net-snmp's: it must not be taken for a row of ours.
  auto const* const hint = isSorted ? static_cast<Hint const*>(*loopContext) : nullptr;
  *loopContext = nullptr;
  if (!info->myvoid) return iterationHelper(Row(), putIndexData);
  auto const& rows = Table::rows(*static_cast<Entity const*>(info->myvoid));
  bool hintMatched = false;
  // On the heap, because net-snmp carries it through C as a void*. The row server keeps its own
  // rows by value.
  auto* const row = new Row(start(rows, hint, hintMatched));
  *loopContext = row;
  FRAME_TRACE(2, "_get_first_data_point",
              " - allocated new loop context " << *loopContext << ", hintMatched=" << hintMatched);
  return iterationHelper(*row, putIndexData);
}

template <class Table>
auto TableFrame<Table>::start(Rows const& rows, Hint const* hint, bool& hintMatched) -> Row {
  if (auto const key = TableHint<Table>::key(hint)) {
    if (auto row = rows.at(*key)) {
      hintMatched = true;
      return row;
    }
    FRAME_TRACE(2, "_get_first_data_point", " - key '" << *key << "' not found in table");
  }
  return rows.first();
}

template <class Table>
netsnmp_variable_list* TableFrame<Table>::next(void* loopContext, void const* dataContext,
                                               netsnmp_variable_list* putIndexData) {
  FRAME_TRACE(2, "_get_next_data_point",
              " - advancing loop context " << loopContext << " ; data context " << dataContext);
  auto* const row = static_cast<Row*>(loopContext);
  // One step, or one descent where rows have come or gone since (Mav::OrderedMap): never a row
  // twice.
  if (row) ++*row;
  auto* const result = iterationHelper(row ? *row : Row(), putIndexData);
  if (!result) FRAME_TRACE(2, "_get_next_data_point", " - at end of loop context " << loopContext);
  return result;
}

template <class Table>
netsnmp_variable_list* TableFrame<Table>::iterationHelper(Row const& row,
                                                          netsnmp_variable_list* putIndexData) {
  if (!row) {
    FRAME_TRACE(2, "IterationHelper", " - iterator is at end");
    return nullptr;
  }
  auto* variable = putIndexData;
  bool complete = true;
  forEachIndex<Table>([&](auto const& index) {
    using Syntax = typename std::remove_cvref_t<decltype(index)>::Syntax;
    FRAME_TRACE(
        2, "IterationHelper",
        " - iterator has another value: " << index.attribute << '=' << index.get(row.key()));
    complete = complete && setIndex(index, Syntax::valueType, row.key(), variable);
    if (variable) variable = variable->next_variable;
  });
  return complete ? putIndexData : nullptr;
}

template <class Table>
void* TableFrame<Table>::makeDataContext(void const* loopContext) {
  if (!loopContext) return nullptr;
  // A row of its own: net-snmp moves the loop context on, and frees both.
  auto* const row = new Row(*static_cast<Row const*>(loopContext));
  FRAME_TRACE(2, "_make_data_context",
              " - allocated data context " << static_cast<void const*>(row) << " for loop context "
                                           << loopContext);
  return row;
}

template <class Table>
void TableFrame<Table>::free(char const* function, void* context) {
  MAV_TRACE_AS(snmpTraceHandle(), 2, function, function << ' ' << context);
  delete static_cast<Row*>(context);
}

#undef FRAME_TRACE

}  // namespace IpSnmp
