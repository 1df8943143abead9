#pragma once
// A view of one table whose rows fit one turn. A derived view says what a row holds and which rows
// there are, and marks those that may have changed; the writing is the same for all.
//
// For tables of thousands of rows: writeAll() gathers all of them beside the table, and marks are a
// tree. Routes and fecs have views of their own, which write in slices (route_view.h, fec_view.h).

#include <map>
#include <optional>

#include <absl/container/btree_set.h>
#include <absl/functional/function_ref.h>

#include "kelbase/publish/table_view.h"

namespace Kelbase {

template <class Table>
class RowView : public TableView {
 public:
  using Key = typename Table::Key;
  using Record = typename Table::Record;

  /// What the table is to hold under `key`; nothing: no row. Asked when the row is written, not
  /// when it is marked.
  virtual std::optional<Record> find(Key const& key) const = 0;

  /// A row that is gone from the model, whatever took it away: a removal, a rename, a link without
  /// a name.
  void writeRemovals(Pondo::Writer& writer) override {
    for (auto const& key : changed_) {
      if (!find(key)) writer.erase<Table>(key);
    }
  }
  void writeRest(Pondo::Writer& writer) override {
    for (auto const& key : changed_) {
      // The writer finds out whether the record is another; a mark too many costs a look.
      if (auto const record = find(key)) writer.put<Table>(key, *record);
    }
    // Only here, behind both steps: where one throws, all is compared anyway.
    changed_.clear();
  }
  Pondo::Writer::SyncCounts writeAll(Pondo::Writer& writer) override {
    // In the order of the table, as Writer::sync() goes through both sides at once.
    std::map<Key, Record> wanted;
    forEachRow([&](Key const& key, Record const& record) { wanted.emplace(key, record); });
    auto const counts = writer.sync<Table>(wanted);
    changed_.clear();
    return counts;
  }

 protected:
  using Visit = absl::FunctionRef<void(Key const&, Record const&)>;

  /// Calls visit(key, record) for every row, in any order.
  virtual void forEachRow(Visit visit) const = 0;
  /// The row may be another than when it was last written.
  void mark(Key const& key) { changed_.insert(key); }

 private:
  // In order: keys that ascend are written fastest (Writer).
  absl::btree_set<Key> changed_;
};

}  // namespace Kelbase
