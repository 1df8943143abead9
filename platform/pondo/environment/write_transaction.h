#pragma once
// One LMDB write transaction over the tables and their change log: a change and its log entry are
// committed together or not at all. Dropped without commit() it leaves no trace; after an exception
// it can only be dropped. Writer makes it, on the publisher's thread.

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "platform/pondo/environment/lmdb_handles.h"
#include "platform/pondo/tables/tables.h"

namespace Pondo {

/// What an operation has done to the table. `unchanged` has written nothing and logged nothing.
enum class Outcome { unchanged, added, changed, removed };

class WriteTransaction {
 public:
  /// Begins it, and holds the environment's one write lock until it goes. EnvironmentException
  /// where LMDB refuses, or where a file has been cut since it was opened.
  explicit WriteTransaction(Environment const& env);

  /// Writes the record: unchanged, added or changed. A key behind the last one of its table is
  /// appended; another one costs a search. A route that differs in its age alone is unchanged.
  Outcome put(TableId table, std::string_view key, std::string_view value);
  /// Removes the record: unchanged or removed.
  Outcome erase(TableId table, std::string_view key);

  /// What `visit` is given lies in the map, and is valid until the transaction writes.
  /// Calls visit(key, value) for every record of the table, in key order.
  template <class Visit>
  void each(TableId table, Visit const& visit) {
    MDB_cursor* const cursor = cursorOf(table).cursor.get();
    MDB_val key{};
    MDB_val value{};
    int code = mdb_cursor_get(cursor, &key, &value, MDB_FIRST);
    for (; isFound(code, env_.directory(), "read");
         code = mdb_cursor_get(cursor, &key, &value, MDB_NEXT)) {
      visit(fromVal(key), fromVal(value));
    }
  }

  /// Marks the tables as complete: they hold everything there is. From the next commit on; nothing
  /// takes the mark away again.
  void completeIs() { meta_.complete = 1; }

  /// Empties the change log, by few pages: readers that have not read it to its end compare again.
  /// To trim it would need pages to do so in: this is for a map that has none.
  void dropLog();

  /// Makes the changes visible, with the next generation and as `origin`'s state, and trims the
  /// change log to `logMax` entries or a little more. Gives the meta record as it is now. Whatever
  /// comes of it, the transaction is over: the object can only be dropped.
  Format::MetaRecord commit(std::size_t logMax, Origin origin);

 private:
  struct TableCursor {
    CursorPtr cursor;
    bool lastKnown = false;
    std::optional<std::string> last;  // greatest key of the table, when lastKnown
  };

  CursorPtr openCursor(MDB_dbi table) const;
  TableCursor& cursorOf(TableId table);
  /// Asks LMDB for the table's last key once, and again after that key was erased.
  bool isBeyondLast(TableCursor& table, std::string_view key);
  void store(TableCursor& table, std::string_view key, std::string_view value, unsigned flags);
  void logChange(TableId table, std::string_view key);
  void trimLog(std::size_t logMax);

  // The environment and its transaction outlive the cursors: LMDB frees with a transaction the
  // cursors that are still open.
  Environment const& env_;
  TxnPtr txn_;
  // As this transaction found it, with what it has added to the log.
  Format::MetaRecord meta_;
  std::array<TableCursor, Format::tableIdEnd> tables_;
  CursorPtr logCursor_;
};

}  // namespace Pondo
