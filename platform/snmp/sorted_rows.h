#pragma once
// The rows of a table that is kept in the order of its instances, and a place among them, where the
// row server stands while it answers a request.
//
// A row that it stands on may be read even after it was erased. No function throws anything but for
// want of memory. On the agent's thread.

#include "platform/snmp/instance_order.h"

namespace Snmp {

class SortedRows {
 public:
  /// How the row stands to the instance: a GET asks for `at`, a GETNEXT for `after`, one that
  /// includes the name for `atOrAfter`.
  enum class Search { at, atOrAfter, after };

  SortedRows() = default;
  virtual ~SortedRows() = default;
  SortedRows(SortedRows const&) = delete;
  SortedRows& operator=(SortedRows const&) = delete;

  /// Goes to the first row that stands so to `instance`, by one descent; false where there is none.
  /// The same again, as a manager asks for the columns of a row, costs none until forget().
  virtual bool find(Instance instance, Search search) = 0;
  /// Goes to the row behind; false where there is none.
  virtual bool next() = 0;
  /// Lets go of the row.
  virtual void leave() = 0;
  /// Forgets what was found: rows may come and go from now on.
  virtual void forget() = 0;

  // Of the row that it stands on:

  /// Writes its instance; the number of sub-identifiers.
  virtual std::size_t instance(std::span<oid> out) const = 0;
  /// What the table's handler takes for a data context, until the next find, next or leave.
  virtual void* row() = 0;
  /// Sets `variables`, those of the table's index, to its values; false for want of memory.
  virtual bool setIndexes(netsnmp_variable_list* variables) const = 0;

  /// Whether someone has switched on what the table's functions tell.
  virtual bool isTraced() const = 0;
};

}  // namespace Snmp
