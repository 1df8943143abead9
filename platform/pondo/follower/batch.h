#pragma once
// The changes of a transaction that has not been committed. The Writer keeps them, because they
// have to be made once more in a new transaction after room was made in a full map, or after the
// tables moved to another environment. On the publisher's thread.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pondo/tables/tables.h"

namespace Pondo {

class Batch {
 public:
  /// Counts changes, not keys: a key that is put twice counts twice.
  std::size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }

  /// Copies both: what was put need not last. The changes that made no difference are not added.
  void addPut(TableId table, std::string_view key, std::string_view value) {
    entries_.push_back({table, false, key.size(), value.size()});
    bytes_.append(key).append(value);
  }
  /// As addPut(): of a key that was there.
  void addErase(TableId table, std::string_view key) {
    entries_.push_back({table, true, key.size(), 0});
    bytes_.append(key);
  }

  /// Keeps the memory for the next batch.
  void clear() {
    entries_.clear();
    bytes_.clear();
  }

  /// Calls put(table, key, value) and erase(table, key) in the order in which they were added. What
  /// they throw ends the replay; the batch stays whole.
  template <class Put, class Erase>
  void replay(Put const& put, Erase const& erase) const {
    std::string_view rest = bytes_;
    for (auto const& entry : entries_) {
      auto const key = rest.substr(0, entry.keySize);
      auto const value = rest.substr(entry.keySize, entry.valueSize);
      rest.remove_prefix(entry.keySize + entry.valueSize);
      if (entry.erase) {
        erase(entry.table, key);
      } else {
        put(entry.table, key, value);
      }
    }
  }

 private:
  // Where an entry's bytes begin follows from the sizes before it: entries are read in order alone.
  struct Entry {
    TableId table;
    bool erase;
    std::size_t keySize;
    std::size_t valueSize;
  };

  // One vector and one string that grow, not two strings a change: a million routes pass through
  // here.
  std::vector<Entry> entries_;
  std::string bytes_;
};

}  // namespace Pondo
