#include "platform/pondo/comparison.h"

#include <algorithm>
#include <optional>

namespace Pondo {
namespace {

// The keys of one origin, ascending.
class Keys {
 public:
  virtual ~Keys() = default;
  virtual std::optional<std::string> const& head() const = 0;
  virtual void drop() = 0;
};

class TableKeys : public Keys {
 public:
  TableKeys(Snapshot const& snapshot, TableId table, std::string_view from, std::size_t limit) {
    auto more = snapshot.scanBytes(table, from, limit, [this](std::string_view key, auto) {
      keys_.emplace_back(std::string(key));
    });
    keys_.push_back(std::move(more));  // the first one beyond, or the end
  }
  std::optional<std::string> const& head() const override { return keys_[at_]; }
  void drop() override { ++at_; }

 private:
  std::vector<std::optional<std::string>> keys_;
  std::size_t at_ = 0;
};

class FiledKeys : public Keys {
 public:
  FiledKeys(Listener const& listener, TableId table, std::string_view from)
      : listener_(listener), table_(table), head_(listener.filedKey(table, from)) {}
  std::optional<std::string> const& head() const override { return head_; }
  void drop() override { head_ = listener_.filedKey(table_, *head_ + '\0'); }

 private:
  Listener const& listener_;
  TableId table_;
  std::optional<std::string> head_;
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
  std::vector<std::unique_ptr<Keys>> origins;
  origins.push_back(std::make_unique<TableKeys>(snapshot, table, from_, limit - changes.size()));
  for (auto const* const listener : listeners_) {
    if (hears(*listener, table)) {
      origins.push_back(std::make_unique<FiledKeys>(*listener, table, from_));
    }
  }
  for (;;) {
    std::optional<std::string> least;
    for (auto const& origin : origins) {
      auto const& head = origin->head();
      if (head && (!least || *head < *least)) least = head;
    }
    if (!least) break;
    from_ = *least;
    if (changes.size() == limit) return;
    for (auto const& origin : origins) {
      if (origin->head() == least) origin->drop();
    }
    changes.push_back({table, std::move(*least)});
  }
  ++table_;
  from_.clear();
}

}  // namespace Pondo
