#pragma once
// Settles requests for rows that are not there, before they reach net-snmp's table iterator, which
// would search for them from the first row on: a second of CPU for a dozen such requests at a
// million rows.
//
// Stands between net-snmp's table helper and its iterator, over a table whose rows are kept in the
// order of their instances, and works on the raw sub-identifiers of the request, so that it does
// not matter whether they parse as the table's indexes. Of a GET of an absent row it makes
// noSuchInstance. For a GETNEXT it gives the iterator its hint: the row that follows the
// instance, or the last row when none does. A SET of an absent row goes to the table's handler
// directly.
//
// Hands requests on one at a time: the iterator hints with the first of a list alone, and would
// miss the rows of the others.

#include "platform/snmp/instance_order.h"
#include "platform/snmp/net_snmp.h"

namespace Snmp {

/// The rows of one table. The functions do one descent each and must not throw.
struct SortedRows {
  void const* source = nullptr;  // what the table is made of; null: it has no rows

  bool (*contains)(void const* source, Instance instance) = nullptr;

  /// Sets `indexes`, the table's list of index variables, to those of the first row after
  /// `instance` (or at it, when `inclusive`), else of the last row. False when there is no row, or
  /// no memory.
  bool (*setHint)(void const* source, Instance instance, bool inclusive,
                  netsnmp_variable_list* indexes) = nullptr;
};

/// A handler to inject before TABLE_ITERATOR_NAME. `rows` must outlive it. Null when there is no
/// memory.
netsnmp_mib_handler* createAbsentRowHandler(SortedRows* rows);

}  // namespace Snmp
