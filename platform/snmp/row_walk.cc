#include "platform/snmp/row_walk.h"

#include <algorithm>
#include <utility>

namespace Snmp {

using Search = SortedRows::Search;

CellPlace CellPlace::named(Instance name, Instance root, std::span<unsigned const> columns) {
  bool const isInside = name.size() > root.size() + 1 &&
                        std::equal(root.begin(), root.end(), name.begin()) &&
                        name[root.size()] == entry;
  if (!isInside) return {};
  auto const column = name[root.size() + 1];
  if (!std::binary_search(columns.begin(), columns.end(), column)) return {};
  return {static_cast<unsigned>(column), name.subspan(root.size() + 2)};
}

RowWalk::RowWalk(SortedRows& rows, Instance root, std::span<unsigned const> columns,
                 View const& view, std::function<void()> onEnd)
    : rows_(rows),
      columns_(columns),
      view_(view),
      onEnd_(std::move(onEnd)),
      prefixSize_(root.size() + 2) {
  // These stay; enter() writes the column behind them, and settle() the instance.
  *std::copy(root.begin(), root.end(), name_.begin()) = CellPlace::entry;
}

bool RowWalk::start(Instance name, bool inclusive) {
  Instance const root(name_.data(), prefixSize_ - 2);
  auto const place = CellPlace::named(name, root, columns_);
  if (place.column != 0) {
    // A column's own name is no cell: the first row behind it is sought, as in the columns behind.
    bool const atToo = inclusive && !place.instance.empty();
    return enter(place.column, place.instance, atToo ? Search::atOrAfter : Search::after);
  }
  auto const entrySize = prefixSize_ - 1;
  // A name within no column: one before the rows leads to the first column, one behind them to
  // nothing, one between two columns to the second of these. 0 says that one of the two begins with
  // the other.
  auto const order = snmp_oidtree_compare(name.data(), name.size(), name_.data(), entrySize);
  if (order > 0) return false;
  bool const isBefore = order < 0 || name.size() <= entrySize;
  return enter(columnFrom(isBefore ? 0 : name[entrySize]), {}, Search::after);
}

bool RowWalk::step() {
  if (settle(rows_.next())) return true;
  onEnd_();
  return enter(columnFrom(oid{column_} + 1), {}, Search::after);
}

bool RowWalk::enter(unsigned column, Instance instance, Search search) {
  // The instance is of the first column alone. Each further one is entered by its first row, which
  // is the first behind an instance of no sub-identifiers. A column that is hidden whole costs one
  // question, however many rows it has.
  for (; column != 0; column = columnFrom(oid{column} + 1), instance = {}, search = Search::after) {
    column_ = column;
    name_[prefixSize_ - 1] = column;
    auto const extent = view_.extentOf({name_.data(), prefixSize_});
    if (extent == View::Extent::none) continue;
    seesAll_ = extent == View::Extent::all;
    if (settle(rows_.find(instance, search))) return true;
    onEnd_();
  }
  return false;
}

/// From a row on to the first one that is shown.
bool RowWalk::settle(bool isOnRow) {
  while (isOnRow) {
    // Once a row: the name is needed for the answer as well, the question only where the view cuts
    // through the column.
    size_ = prefixSize_ + rows_.instance(std::span(name_).subspan(prefixSize_));
    if (seesAll_ || view_.shows(name())) return true;
    isOnRow = passHidden();
  }
  return false;
}

/// To the first row behind the largest subtree around this cell that is hidden whole.
bool RowWalk::passHidden() {
  // From the largest subtree to the smallest: the first that is hidden whole spares the most rows.
  // Neither the column, of which enter() has asked, nor the whole name, which is known to be
  // hidden.
  for (auto size = prefixSize_ + 1; size < size_; ++size) {
    if (view_.extentOf({name_.data(), size}) != View::Extent::none) continue;
    // The least instance behind the subtree. One more than the largest sub-identifier is one, too:
    // an oid has 64 bits.
    ++name_[size - 1];
    return rows_.find({name_.data() + prefixSize_, size - prefixSize_}, Search::atOrAfter);
  }
  return rows_.next();
}

/// The first column whose number is not less; 0 where there is none.
unsigned RowWalk::columnFrom(oid least) const {
  auto const found = std::lower_bound(columns_.begin(), columns_.end(), least);
  return found == columns_.end() ? 0 : *found;
}

}  // namespace Snmp
