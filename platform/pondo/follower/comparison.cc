#include "platform/pondo/follower/comparison.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace Pondo {
namespace {

using Row = std::pair<std::string_view, std::string_view>;

// What the listeners have filed from a table, ascending, each key once.
class FiledKeys {
 public:
  FiledKeys(std::span<Listener* const> listeners, TableId table, std::string_view from)
      : table_(table) {
    for (auto const* const listener : listeners) {
      if (hears(*listener, table)) origins_.push_back({listener, listener->filedKey(table, from)});
    }
    findLeast();
  }

  /// Null at the end.
  std::string const* head() const { return least_; }

  void drop() {
    // A copy: least_ leads into what is replaced below.
    auto const dropped = *least_;
    // The least key behind it.
    auto const next = dropped + '\0';
    for (auto& [listener, head] : origins_) {
      // Two listeners may have filed the same key; the others stand behind it and stay.
      if (head == dropped) head = listener->filedKey(table_, next);
    }
    findLeast();
  }

 private:
  struct Origin {
    Listener const* listener;
    std::optional<std::string> head;
  };

  void findLeast() {
    least_ = nullptr;
    for (auto const& origin : origins_) {
      if (origin.head && (!least_ || *origin.head < *least_)) least_ = &*origin.head;
    }
  }

  TableId table_;
  std::vector<Origin> origins_;
  std::string const* least_ = nullptr;
};

}  // namespace

bool hears(Listener const& listener, TableId table) {
  auto const tables = listener.tables();
  return std::find(tables.begin(), tables.end(), table) != tables.end();
}

Comparison::Comparison(std::span<Listener* const> listeners) : listeners_(listeners) {
  for (auto const* const listener : listeners) {
    tables_.insert(tables_.end(), listener->tables().begin(), listener->tables().end());
  }
  // A table is walked once, however many listeners hear of it.
  std::sort(tables_.begin(), tables_.end());
  tables_.erase(std::unique(tables_.begin(), tables_.end()), tables_.end());
}

void Comparison::take(Snapshot const& snapshot, std::size_t limit, std::vector<Change>& changes) {
  while (!ended() && changes.size() < limit) takeFromTable(snapshot, limit, changes);
}

void Comparison::takeFromTable(Snapshot const& snapshot, std::size_t limit,
                               std::vector<Change>& changes) {
  auto const table = tables_[table_];
  std::vector<Row> rows;
  rows.reserve(limit - changes.size());
  // Views of the map, which last as long as the snapshot; announced records are read from them
  // without a copy.
  auto const rowBeyond = snapshot.scanBytes(
      table, from_, limit - changes.size(),
      [&](std::string_view key, std::string_view record) { rows.emplace_back(key, record); });
  // Two walks in the order of keys, merged: a filed key without a record has gone, and is announced
  // as well.
  FiledKeys filed(listeners_, table, from_);
  auto row = rows.begin();
  while (changes.size() < limit && (row != rows.end() || filed.head())) {
    if (row == rows.end() || (filed.head() && *filed.head() < row->first)) {
      changes.push_back({table, *filed.head()});
    } else {
      changes.push_back({table, std::string(row->first), row->second});
      ++row;
    }
    // A key that stands on both sides is announced once, with its record.
    if (filed.head() && *filed.head() == changes.back().key) filed.drop();
  }
  // Where filed keys have used up the slice, the rows that are left are read again in the next.
  goOnFrom(row != rows.end() ? std::optional<std::string>(row->first) : rowBeyond, filed.head());
}

void Comparison::goOnFrom(std::optional<std::string> const& row, std::string const* filed) {
  if (row || filed) {
    from_ = !row || (filed && *filed < *row) ? *filed : *row;
  } else {
    ++table_;
    from_.clear();
  }
}

}  // namespace Pondo
