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
// Its source, which alone includes this, makes the eight functions of table_functions.h from it:
//
//   template class TableFunctions<IpAddrTable>;
//
// Loop and data contexts are rows on the heap, owned by net-snmp. Nothing persists between
// requests. The entity outlives the registration, which holds a plain pointer to it.
//
// A collection finds a row by a descent, and is declared sorted to net-snmp. It is served by the
// row server (platform/snmp/row_server.h), which stands before net-snmp's iterator and walks the
// collection itself. Get-first finds a hint in its loop context (table_hint.h), or null.
//
// net-snmp has C frames below: exceptions end here. Null is what its iterator takes for the end of
// a table: a walk that meets a fault ends there, what stands behind it is missing until the next
// walk, and the daemon lives.

#include <memory>
#include <string>
#include <utility>

#include "handlers/table/table_functions.h"
#include "handlers/table/table_hint.h"
#include "handlers/table/table_requests.h"
#include "handlers/table/table_rows.h"
#include "handlers/trace.h"
#include "handlers/unit_registration.h"
#include "platform/mav/object.h"
#include "platform/snmp/callback.h"
#include "platform/snmp/set_value.h"
#include "platform/snmp/snmp_util.h"

namespace IpSnmp {

// Each line is headed by the name of the function that net-snmp called, which is joined while
// compiling: a call that nobody traces pays nothing for it.
#define FRAME_TRACE(level, suffix, stream)                                   \
  MAV_TRACE_AS(snmpTraceHandle(), level, functionName<Table>(suffix).data(), \
               Table::name << suffix << stream) /* NOLINT(bugprone-macro-parentheses) */

/// The part that is the same for all rows; made at the first call.
template <class Table>
TableDescription const& tableDescription() {
  using Row = typename Table::Row;
  static TableDescription const table{
      Table::name,
      Table::Entity::path,
      Table::objectId,
      Table::modes,
      Table::columns,
      [](std::ostream& out, void const* row) { out << static_cast<Row const*>(row)->key(); }};
  return table;
}

/// On the row that the hint names, which `hintMatched` tells, else on the first.
template <class Table>
typename Table::Row firstRow(typename Table::Rows const& rows,
                             typename TableHint<Table>::Request const* hint, bool& hintMatched) {
  if (auto const key = TableHint<Table>::key(hint)) {
    if (auto row = rows.at(*key)) {
      hintMatched = true;
      return row;
    }
    FRAME_TRACE(2, "_get_first_data_point", " - key '" << *key << "' not found in table");
  }
  return rows.first();
}

/// Puts the indexes of the row in `putIndexData`, which it gives back; null without a row, at the
/// end, or for want of memory.
template <class Table>
netsnmp_variable_list* indexesOf(typename Table::Row const* row,
                                 netsnmp_variable_list* putIndexData) {
  if (!row || !*row) {
    FRAME_TRACE(2, "IterationHelper", " - iterator is at end");
    return nullptr;
  }
  auto* variable = putIndexData;
  bool complete = true;
  forEachIndex<Table>([&](auto const& index) {
    using Syntax = typename std::remove_cvref_t<decltype(index)>::Syntax;
    FRAME_TRACE(
        2, "IterationHelper",
        " - iterator has another value: " << index.attribute << '=' << index.get(row->key()));
    complete = complete && setIndex(index, Syntax::valueType, row->key(), variable);
    if (variable) variable = variable->next_variable;
  });
  return complete ? putIndexData : nullptr;
}

/// Of a loop or data context, by the function of that name.
template <class Table>
void freeRow(char const* function, void* context) {
  MAV_TRACE_AS(snmpTraceHandle(), 2, function, function << ' ' << context);
  delete static_cast<typename Table::Row*>(context);
}

// What it throws is for want of memory; a component of the index that net-snmp has none for is told
// in a trace, and the table goes without it.
template <class Table>
void TableFunctions<Table>::initialize() {
  using Entity = typename Table::Entity;
  auto const& table = tableDescription<Table>();
  auto const initializer = "initialize_table_" + std::string(Table::name);
  traceInitializing(initializer.c_str(), table.objectId);
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
  auto& iterator = registered->iterator();
  iterator.get_first_data_point = getFirstDataPoint;
  iterator.get_next_data_point = getNextDataPoint;
  iterator.make_data_context = makeDataContext;
  iterator.free_data_context = freeDataContext;
  iterator.free_loop_context_at_end = freeLoopContextAtEnd;
  // A plain pointer: whoever unmounts the entity has the registrations undone first
  // (State::MountObserver).
  iterator.myvoid = entity.get();
  // Last: the row server copies the list of indexes.
  registered->rowsAre(std::make_unique<TableRows<Table>>(entity.get()));
  registerTable(table, handler, std::move(registered));
  MAV_TRACE_AS(snmpTraceHandle(), 8, initializer, "Initialized table " << Table::name << ' ');
}

// The data context stays as it is: make-data-context gives one for the row that net-snmp chooses.
template <class Table>
netsnmp_variable_list* TableFunctions<Table>::getFirstDataPoint(
    void** loopContext, void** /*dataContext*/, netsnmp_variable_list* putIndexData,
    netsnmp_iterator_info* info) noexcept {
  static constexpr auto name = functionName<Table>("_get_first_data_point");
  return Snmp::guardedOr<netsnmp_variable_list*>(name.data(), nullptr, [&] {
    using Hint = typename TableHint<Table>::Request;
    // What stands there is net-snmp's: it must not be taken for a row of ours.
    auto const* const hint = static_cast<Hint const*>(*loopContext);
    *loopContext = nullptr;
    if (!info->myvoid) return indexesOf<Table>(nullptr, putIndexData);
    auto const& rows = Table::rows(*static_cast<typename Table::Entity const*>(info->myvoid));
    bool hintMatched = false;
    // On the heap, because net-snmp carries it through C as a void*. The row server keeps its own
    // rows by value.
    auto* const row =
        std::make_unique<typename Table::Row>(firstRow<Table>(rows, hint, hintMatched)).release();
    *loopContext = row;
    FRAME_TRACE(
        2, "_get_first_data_point",
        " - allocated new loop context " << *loopContext << ", hintMatched=" << hintMatched);
    return indexesOf<Table>(row, putIndexData);
  });
}

template <class Table>
netsnmp_variable_list* TableFunctions<Table>::getNextDataPoint(
    void** loopContext, void** dataContext, netsnmp_variable_list* putIndexData,
    netsnmp_iterator_info* /*info*/) noexcept {
  static constexpr auto name = functionName<Table>("_get_next_data_point");
  return Snmp::guardedOr<netsnmp_variable_list*>(name.data(), nullptr, [&] {
    FRAME_TRACE(2, "_get_next_data_point",
                " - advancing loop context " << *loopContext << " ; data context "
                                             << (dataContext ? *dataContext : nullptr));
    auto* const row = static_cast<typename Table::Row*>(*loopContext);
    // One step, or one descent where rows have come or gone since (Mav::OrderedMap): never a row
    // twice.
    if (row) ++*row;
    auto* const result = indexesOf<Table>(row, putIndexData);
    if (!result) {
      FRAME_TRACE(2, "_get_next_data_point", " - at end of loop context " << *loopContext);
    }
    return result;
  });
}

template <class Table>
netsnmp_variable_list* TableFunctions<Table>::iterationHelper(
    void* loopContext, netsnmp_variable_list* putIndexData) noexcept {
  static constexpr auto name = functionName<Table>("IterationHelper");
  return Snmp::guardedOr<netsnmp_variable_list*>(name.data(), nullptr, [&] {
    return indexesOf<Table>(static_cast<typename Table::Row const*>(loopContext), putIndexData);
  });
}

template <class Table>
void* TableFunctions<Table>::makeDataContext(void* loopContext,
                                             netsnmp_iterator_info* /*info*/) noexcept {
  static constexpr auto name = functionName<Table>("_make_data_context");
  // A null data context is that of an absent row: a fault here reads as such.
  return Snmp::guardedOr<void*>(name.data(), nullptr, [&]() -> void* {
    using Row = typename Table::Row;
    if (!loopContext) return nullptr;
    // A row of its own: net-snmp moves the loop context on, and frees both.
    void* const row = std::make_unique<Row>(*static_cast<Row const*>(loopContext)).release();
    FRAME_TRACE(2, "_make_data_context",
                " - allocated data context " << row << " for loop context " << loopContext);
    return row;
  });
}

template <class Table>
void TableFunctions<Table>::freeDataContext(void* dataContext,
                                            netsnmp_iterator_info* /*info*/) noexcept {
  freeRow<Table>(functionName<Table>("_free_data_context").data(), dataContext);
}

template <class Table>
void TableFunctions<Table>::freeLoopContextAtEnd(void* loopContext,
                                                 netsnmp_iterator_info* /*info*/) noexcept {
  freeRow<Table>(functionName<Table>("_free_loop_context_at_end").data(), loopContext);
}

template <class Table>
int TableFunctions<Table>::handler(netsnmp_mib_handler* /*handler*/,
                                   netsnmp_handler_registration* /*registration*/,
                                   netsnmp_agent_request_info* request,
                                   netsnmp_request_info* requests) noexcept {
  static constexpr auto name = functionName<Table>("_handler");
  return Snmp::guarded(name.data(), requests, [&] {
    // The mode of the call, not of the PDU: within a walk the row server shows a GET.
    return answerTable(tableDescription<Table>(), name.data(), request->mode, requests);
  });
}

#undef FRAME_TRACE

}  // namespace IpSnmp
