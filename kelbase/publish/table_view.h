#pragma once
// A part of the model, shown as the rows of a shared table; or several tables that hang together.
//
// A view hears of the model's changes as they are made and remembers which rows they concern; the
// publisher has it write them, once a turn. What a row is to hold is asked of the model then: many
// changes of one row are one write, or none. No method blocks. All on the publisher's thread.

#include <string>
#include <string_view>

#include "platform/pondo/environment/writer.h"

namespace Kelbase {

class TableView {
 public:
  TableView() = default;
  TableView(TableView const&) = delete;
  TableView& operator=(TableView const&) = delete;
  virtual ~TableView() = default;

  /// "links": the table as `kelbasectl` calls it; both tables of addresses have one name, and one
  /// that repeats a part of another has none, nor a summary.
  virtual std::string_view name() const = 0;

  /// Writes what changed since the last write, in two steps. Publisher takes the first step of all
  /// views before the second of any, so that readers hear of what goes before what comes. The
  /// caller commits.
  virtual void writeRemovals(Pondo::Writer& /*writer*/) {}
  virtual void writeRest(Pondo::Writer& writer) = 0;
  /// There is more to write than fits a turn: the caller commits, and writes again next turn.
  virtual bool hasMore() const { return false; }
  /// Takes away what no record of any table refers to any more. Called when no view has more.
  virtual void writeUnused(Pondo::Writer& /*writer*/) {}
  /// Makes the table equal to the model, whatever it holds; a view that then has more has but found
  /// the difference, and writes it as changes. The caller commits. What a failed write has lost is
  /// found here.
  virtual Pondo::Writer::SyncCounts writeAll(Pondo::Writer& writer) = 0;
  /// For the operator: "3 links".
  virtual std::string summary() const = 0;
};

}  // namespace Kelbase
