#include "platform/pondo/comparison.h"

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
    auto const dropped = *least_;
    auto const next = dropped + '\0';
    for (auto& [listener, head] : origins_) {
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
  auto const more = snapshot.scanBytes(
      table, from_, limit - changes.size(),
      [&](std::string_view key, std::string_view record) { rows.emplace_back(key, record); });
  FiledKeys filed(listeners_, table, from_);
  auto const takeFiledUpTo = [&](std::string_view const* end) {
    for (; filed.head() && (!end || *filed.head() < *end); filed.drop()) {
      if (changes.size() == limit) return from_ = *filed.head(), false;
      changes.push_back({table, *filed.head()});
    }
    return true;
  };
  for (auto const& [key, record] : rows) {
    if (!takeFiledUpTo(&key)) return;
    if (changes.size() == limit) {
      from_ = key;
      return;
    }
    if (filed.head() && *filed.head() == key) filed.drop();
    changes.push_back({table, std::string(key), record});
  }
  std::string_view const end = more ? std::string_view(*more) : std::string_view();
  if (!takeFiledUpTo(more ? &end : nullptr)) return;
  if (more) {
    from_ = *more;
    return;
  }
  ++table_;
  from_.clear();
}

}  // namespace Pondo
