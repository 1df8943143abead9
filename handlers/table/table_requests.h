#pragma once
// What is the same in all tables of one shape, whatever their rows are: how a handler answers its
// requests from the columns, and the texts of the functions around it. On snmpd's thread; nothing
// is kept between two calls.

#include <algorithm>
#include <array>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

#include "handlers/table/table_column.h"
#include "platform/snmp/iterator_table.h"

namespace IpSnmp {

/// A table, as far as it is the same for all rows and keys.
struct TableDescription {
  std::string_view name;
  // Where the entity is mounted, for traces alone: rows are found by the registration's pointer.
  std::string_view entityPath;
  std::span<oid const> objectId;
  /// The second for a table with columns that the MIB lets a manager write: a SET then comes as far
  /// as the handler, which refuses it with its trace.
  int modes;  // of net-snmp: HANDLER_CAN_RONLY, HANDLER_CAN_RWRITE
  std::span<TableColumn const> columns;
  /// Of the row that `row` points to, for traces.
  void (*printKey)(std::ostream& out, void const* row);
};

/// The table's name and a suffix, joined while compiling: what one of its functions is called. Ends
/// with a zero octet, as the suffix does: data() is a C string.
template <class Table, std::size_t size>
constexpr auto functionName(char const (&suffix)[size]) {
  std::array<char, Table::name.size() + size> text{};
  std::ranges::copy(suffix, std::ranges::copy(Table::name, text.begin()).out);
  return text;
}

/// The net-snmp handler of a table: GET from the rows in the requests' data contexts, every SET
/// refused. `handler` is its name. Returns the SNMP error status.
int answerTable(TableDescription const& table, std::string_view handler, int mode,
                netsnmp_request_info* requests);

/// Registers a table whose callbacks, indexes and rows stand in `registered`, handled by `handler`.
/// Mav::Exception for want of memory. What net-snmp refuses is told in the log, and not served.
void registerTable(TableDescription const& table, Netsnmp_Node_Handler* handler,
                   std::unique_ptr<Snmp::IteratorTable> registered);

/// The numbers of the columns. In ascending order, as the columns stand.
std::vector<unsigned> columnNumbers(TableDescription const& table);

}  // namespace IpSnmp
