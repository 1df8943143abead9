#include "platform/snmp/iterator_table.h"

#include <cassert>
#include <utility>

namespace Snmp {

IteratorTable::IteratorTable(std::span<unsigned const> columns)
    : columnNumbers_(columns.begin(), columns.end()) {
  assert(!columns.empty() && columns.size() <= 127);  // list_count is a char
  columns_.list_count = static_cast<char>(columns.size());
  columns_.details.list = columnNumbers_.data();
  table_.valid_columns = &columns_;
  table_.min_column = columnNumbers_.front();
  table_.max_column = columnNumbers_.back();
  // Each of these points to another member: the block never moves.
  iterator_.table_reginfo = &table_;
}

// net-snmp frees neither of the lists: NETSNMP_HANDLER_OWNS_IINFO is not set, this block is ours.
IteratorTable::~IteratorTable() {
  snmp_free_varbind(table_.indexes);
  snmp_free_varbind(iterator_.indexes);  // a copy that net-snmp makes when it registers
}

bool IteratorTable::addIndex(unsigned char type) {
  return snmp_varlist_add_variable(&table_.indexes, nullptr, 0, type, nullptr, 0) != nullptr;
}

void IteratorTable::rowsAre(std::unique_ptr<SortedRows> rows) {
  // With this flag net-snmp's iterator gives get-first a hint, by way of the loop context.
  iterator_.flags |= NETSNMP_ITERATOR_FLAG_SORTED;
  server_.emplace(std::move(rows), iterator_, columnNumbers_);
}

}  // namespace Snmp
