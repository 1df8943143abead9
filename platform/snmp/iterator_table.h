#pragma once
// What net-snmp keeps pointers to while a table is registered with its table iterator: index list,
// columns, callbacks, and our server of sorted rows. One block, which lives until the table is
// unregistered. What registers the table owns it, and frees it after net-snmp has let go of the
// registration. Nothing of it moves or changes meanwhile.

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/snmp/net_snmp.h"
#include "platform/snmp/row_server.h"

namespace Snmp {

class IteratorTable {
 public:
  /// `columns` in ascending order, at least one and at most 127.
  explicit IteratorTable(std::span<unsigned const> columns);
  ~IteratorTable();
  IteratorTable(IteratorTable const&) = delete;
  IteratorTable& operator=(IteratorTable const&) = delete;

  /// Adds an index component; false when net-snmp has no memory for it. In the order of the MIB.
  /// `type` is that of a component as a request's instance is parsed.
  [[nodiscard]] bool addIndex(unsigned char type);

  /// For the callbacks and `myvoid`.
  netsnmp_iterator_info& iterator() { return iterator_; }
  /// Once, and last: indexes and callbacks are there.
  void rowsAre(std::unique_ptr<SortedRows> rows);
  RowServer& server() { return *server_; }

 private:
  // The numbers that columns_ points to, columns_ that table_ points to, and table_ that iterator_
  // points to; the server refers to the last, and goes first.
  std::vector<unsigned> columnNumbers_;
  netsnmp_column_info columns_{};
  netsnmp_table_registration_info table_{};
  netsnmp_iterator_info iterator_{};
  std::optional<RowServer> server_;
};

}  // namespace Snmp
