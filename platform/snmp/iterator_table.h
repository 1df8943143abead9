#pragma once
// What net-snmp keeps pointers to while a table is registered with its table iterator: index list,
// columns, callbacks, and our row order. One block, which lives until the table is unregistered.

#include <span>
#include <vector>

#include "platform/snmp/absent_row_handler.h"
#include "platform/snmp/net_snmp.h"

namespace Snmp {

class IteratorTable {
 public:
  /// `columns` in ascending order, at least one and at most 127.
  explicit IteratorTable(std::span<unsigned const> columns);
  ~IteratorTable();
  IteratorTable(IteratorTable const&) = delete;
  IteratorTable& operator=(IteratorTable const&) = delete;

  /// Adds an index component; false when net-snmp has no memory for it.
  [[nodiscard]] bool addIndex(unsigned char type);

  /// Takes over the callbacks, and nothing else.
  void callbacksAre(netsnmp_iterator_info const& callbacks);
  /// For `myvoid` and flags.
  netsnmp_iterator_info& iterator() { return iterator_; }
  /// Of a table with NETSNMP_ITERATOR_FLAG_SORTED.
  SortedRows& rows() { return rows_; }

 private:
  std::vector<unsigned> columnNumbers_;
  netsnmp_column_info columns_{};
  netsnmp_table_registration_info table_{};
  netsnmp_iterator_info iterator_{};
  SortedRows rows_;
};

}  // namespace Snmp
