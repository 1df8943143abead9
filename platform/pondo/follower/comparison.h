#pragma once
// Walks, in slices, over everything that listeners have to read again to be exact: every key of
// their tables and every key that one of them has filed, in order of table and key, each once.

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/pondo/follower/follower.h"

namespace Pondo {

class Comparison {
 public:
  explicit Comparison(std::span<Listener* const> listeners);

  bool ended() const { return table_ == tables_.size(); }

  /// Appends the next keys, up to `limit`, and moves on.
  void take(Snapshot const& snapshot, std::size_t limit, std::vector<Change>& changes);

 private:
  void takeFromTable(Snapshot const& snapshot, std::size_t limit, std::vector<Change>& changes);
  /// From the lesser of the two; from the next table where there is neither.
  void goOnFrom(std::optional<std::string> const& row, std::string const* filed);

  std::span<Listener* const> listeners_;
  std::vector<TableId> tables_;  // ascending
  std::size_t table_ = 0;
  std::string from_;  // first key not yet taken
};

/// Whether the listener hears of the table.
bool hears(Listener const& listener, TableId table);

}  // namespace Pondo
