#pragma once
// The walk of a comparison: it goes over everything that listeners have to read again to be exact,
// in slices. That is every key of their tables and every key that one of them has filed, in the
// order of table and key, each once. A key that stands nowhere but with a listener is one that has
// gone. What changes behind the walk is in the change log.

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/pondo/follower/follower.h"

namespace Pondo {

class Comparison {
 public:
  /// The listeners outlive it. To copy one is cheap: it is a place in the walk.
  explicit Comparison(std::span<Listener* const> listeners);

  bool ended() const { return table_ == tables_.size(); }

  /// Appends the next keys to `changes`, up to `limit`, and moves on.
  void take(Snapshot const& snapshot, std::size_t limit, std::vector<Change>& changes);

 private:
  void takeFromTable(Snapshot const& snapshot, std::size_t limit, std::vector<Change>& changes);
  /// Sets the walk to go on from the lesser of the two, or in the next table where there is
  /// neither.
  void goOnFrom(std::optional<std::string> const& row, std::string const* filed);

  std::span<Listener* const> listeners_;
  std::vector<TableId> tables_;  // ascending
  std::size_t table_ = 0;
  std::string from_;  // first key not yet taken
};

/// True when the listener hears of the table.
bool hears(Listener const& listener, TableId table);

}  // namespace Pondo
