#pragma once
// A walk over the cells of a sorted table, column by column, as GETNEXT and GETBULK go: one descent
// for the first cell, a step for each one behind it. Cells that the view hides are passed over, a
// hidden subtree of any size by one descent.
//
// Lives within one request. On the agent's thread.

#include <array>
#include <functional>

#include "platform/snmp/sorted_rows.h"
#include "platform/snmp/view.h"

namespace Snmp {

class RowWalk {
 public:
  /// Of the table registered at `root`, with its columns in ascending order. `onEnd` is called
  /// whenever a column has no further row. `view` must outlive it.
  RowWalk(SortedRows& rows, Instance root, std::span<unsigned const> columns, View const& view,
          std::function<void()> onEnd);
  ~RowWalk() { rows_.leave(); }
  RowWalk(RowWalk const&) = delete;
  RowWalk& operator=(RowWalk const&) = delete;

  /// Goes to the first cell behind `name`, or at it when that is inclusive; false where the table
  /// has none.
  bool start(Instance name, bool inclusive);
  /// Goes to the cell behind; false where the table has none.
  bool step();

  /// Of the cell.
  std::span<oid> name() { return {name_.data(), size_}; }
  unsigned column() const { return column_; }

 private:
  // Each goes to a cell that is shown, and is false where there is none. enter() looks in a column
  // and in those behind it, settle() in the same column from a row on, passHidden() behind the
  // hidden cell that it stands on.
  bool enter(unsigned column, Instance instance, SortedRows::Search search);
  bool settle(bool isOnRow);
  bool passHidden();
  unsigned columnFrom(oid least) const;

  SortedRows& rows_;
  std::span<unsigned const> const columns_;
  View const& view_;
  std::function<void()> const onEnd_;
  // Written in place: a step from row to row allocates nothing.
  std::array<oid, MAX_OID_LEN> name_;  // ROOT.1.COLUMN.INSTANCE
  std::size_t const prefixSize_;       // as far as COLUMN
  std::size_t size_ = 0;
  unsigned column_ = 0;
  bool seesAll_ = true;  // of the column
};

/// Where in a table a name points.
struct CellPlace {
  static constexpr oid entry = 1;  // ROOT.1.COLUMN.INSTANCE

  unsigned column = 0;  // 0: none of the table's
  Instance instance;

  /// The place of `name` in the table registered at `root`. A name that ends with its column has an
  /// empty instance; one that is none of a column's gives column 0.
  static CellPlace named(Instance name, Instance root, std::span<unsigned const> columns);
};

}  // namespace Snmp
