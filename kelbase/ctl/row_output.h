#pragma once
// Writes rows as they come: as aligned text, or as a JSON array with one object a line. Neither
// keeps rows: a table of any length can pass.
//
// Both write to the stream that they were made with, and throw what it throws. Rows are those of a
// slice: the snapshot that they came from may have ended.

#include <iosfwd>
#include <memory>
#include <span>
#include <vector>

#include "kelbase/ctl/shown_table.h"

namespace Kelbase::Ctl {

class RowOutput {
 public:
  virtual ~RowOutput() = default;
  /// May be called with none, and as often as there are slices.
  virtual void write(std::span<Row const> rows) = 0;
  /// To be called once, after the last row.
  virtual void end() = 0;
};

/// Columns of text are as wide as what has passed so far: a table of one slice is aligned
/// throughout, a longer one may widen at the head of a slice. Numbers stand to the right. `columns`
/// must outlive the output.
std::unique_ptr<RowOutput> rowOutput(std::ostream& out, std::span<Column const> columns, bool json);

}  // namespace Kelbase::Ctl
