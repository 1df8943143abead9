#include "platform/pondo/environment/write_transaction.h"

#include <cstddef>
#include <cstring>

#include "platform/pondo/tables/layout_bytes.h"

namespace Pondo {
namespace {

// Small commits trim the log in steps, since every trimming rewrites the log's first pages.
constexpr std::size_t trimSlack = 16;

/// As Fib::isSameButAge() of routes.
bool isSame(TableId table, std::string_view a, std::string_view b) {
  using Format::RouteRecord;
  constexpr auto ageAt = offsetof(RouteRecord, changedAt);
  constexpr auto ageEnd = ageAt + sizeof(RouteRecord::changedAt);
  // A publisher that has just started knows no ages: what it finds unchanged keeps the age that it
  // has.
  if (table != TableId::route && table != TableId::route6) return a == b;
  if (a.size() != sizeof(RouteRecord) || b.size() != sizeof(RouteRecord)) return a == b;
  return a.substr(0, ageAt) == b.substr(0, ageAt) && a.substr(ageEnd) == b.substr(ageEnd);
}

}  // namespace

WriteTransaction::WriteTransaction(Environment const& env) : env_(env) {
  // Before LMDB looks at the map: a page behind the end of the file would be SIGBUS (mmap(2)).
  if (auto const* const file = env.damaged()) {
    throw EnvironmentException((env.directory() / file).string() +
                                   ": has been cut or overwritten; the tables are made anew",
                               EnvironmentException::Reason::truncated);
  }
  txn_ = env.begin(0);
  meta_ = env.meta(txn_.get());
  logCursor_ = openCursor(env_.tables().log);
}

CursorPtr WriteTransaction::openCursor(MDB_dbi table) const {
  MDB_cursor* cursor = nullptr;
  check(mdb_cursor_open(txn_.get(), table, &cursor), env_.directory(), "write");
  return CursorPtr(cursor);
}

WriteTransaction::TableCursor& WriteTransaction::cursorOf(TableId table) {
  auto& found = tables_.at(static_cast<std::size_t>(table));
  // One for the whole transaction, which stays where it was last: what comes in order is near.
  if (!found.cursor) found.cursor = openCursor(env_.tables()[table]);
  return found;
}

bool WriteTransaction::isBeyondLast(TableCursor& table, std::string_view key) {
  // Tables are filled in the order of their keys. The last key is remembered, because appending is
  // ten times as fast as a search for the place.
  if (!table.lastKnown) {
    MDB_val last{};
    MDB_val value{};
    int const code = mdb_cursor_get(table.cursor.get(), &last, &value, MDB_LAST);
    table.last.reset();
    if (isFound(code, env_.directory(), "read")) table.last = fromVal(last);
    table.lastKnown = true;
  }
  return !table.last || std::string_view(*table.last) < key;
}

void WriteTransaction::store(TableCursor& table, std::string_view key, std::string_view value,
                             unsigned flags) {
  MDB_val keyVal = toVal(key);
  MDB_val valueVal = toVal(value);
  check(mdb_cursor_put(table.cursor.get(), &keyVal, &valueVal, flags), env_.directory(), "write");
}

Outcome WriteTransaction::put(TableId id, std::string_view key, std::string_view value) {
  auto& table = cursorOf(id);
  if (isBeyondLast(table, key)) {
    // Appending compares nothing, which is right beyond the last key alone.
    store(table, key, value, MDB_APPEND);
    table.last = key;
    logChange(id, key);
    return Outcome::added;
  }
  MDB_val keyVal = toVal(key);
  MDB_val found{};
  int const code = mdb_cursor_get(table.cursor.get(), &keyVal, &found, MDB_SET);
  bool const isThere = isFound(code, env_.directory(), "read");
  // What is the same is not written: each record written is one that every reader looks at again.
  if (isThere && isSame(id, fromVal(found), value)) return Outcome::unchanged;
  // A record that was found has the cursor on it, and is overwritten there without another search.
  store(table, key, value, isThere ? MDB_CURRENT : 0);
  logChange(id, key);
  return isThere ? Outcome::changed : Outcome::added;
}

Outcome WriteTransaction::erase(TableId id, std::string_view key) {
  auto& table = cursorOf(id);
  MDB_val keyVal = toVal(key);
  MDB_val value{};
  int const code = mdb_cursor_get(table.cursor.get(), &keyVal, &value, MDB_SET);
  if (!isFound(code, env_.directory(), "erase")) return Outcome::unchanged;
  check(mdb_cursor_del(table.cursor.get(), 0), env_.directory(), "erase");
  // Nothing may be appended behind a key that has gone without a look at what is the last one now.
  if (table.last == key) table.lastKnown = false;
  logChange(id, key);
  return Outcome::removed;
}

// Readers of tables that are not complete wait, and then compare: they need no log.
void WriteTransaction::logChange(TableId id, std::string_view key) {
  if (meta_.complete == 0) return;
  std::array<char, 1 + Format::keyMax> entry{};
  entry[0] = static_cast<char>(id);
  key.copy(entry.data() + 1, Format::keyMax);  // LMDB has refused longer ones
  // Sequences only rise: an entry always goes behind the last one.
  auto sequence = bigEndian(meta_.logNext);
  MDB_val keyVal{sequence.size(), sequence.data()};
  MDB_val value{1 + key.size(), entry.data()};
  int const code = mdb_cursor_put(logCursor_.get(), &keyVal, &value, MDB_APPEND);
  check(code, env_.directory(), "write the change log");
  ++meta_.logNext;
}

void WriteTransaction::trimLog(std::size_t logMax) {
  auto const kept = meta_.logNext - meta_.logFirst;
  if (kept <= logMax + logMax / trimSlack) return;
  auto const cursor = openCursor(env_.tables().log);
  // MDB_NEXT of a new cursor gives the first entry, and after a deletion the one that has come into
  // the place (mdb.c, mdb_cursor_next).
  for (auto left = kept - logMax; left > 0; --left) {
    MDB_val key{};
    MDB_val value{};
    int code = mdb_cursor_get(cursor.get(), &key, &value, MDB_NEXT);
    if (code == MDB_SUCCESS) code = mdb_cursor_del(cursor.get(), 0);
    check(code, env_.directory(), "trim the change log");
    ++meta_.logFirst;
  }
}

void WriteTransaction::dropLog() {
  logCursor_.reset();
  check(mdb_drop(txn_.get(), env_.tables().log, 0), env_.directory(), "drop the change log");
  // A reader that was behind finds its place gone, and compares all.
  meta_.logFirst = meta_.logNext;
  logCursor_ = openCursor(env_.tables().log);
}

Format::MetaRecord WriteTransaction::commit(std::size_t logMax, Origin origin) {
  // Before the meta record is written, which says where the log begins.
  trimLog(logMax);
  meta_.origin = static_cast<std::uint64_t>(origin);
  ++meta_.generation;
  MDB_val key = toVal(Format::metaKey);
  MDB_val value{sizeof meta_, &meta_};
  check(mdb_put(txn_.get(), env_.tables().meta, &key, &value, 0), env_.directory(), "write");
  // A cursor of a write transaction ends with it (lmdb.h, mdb_cursor_open): closing one afterwards
  // would free it twice. A commit frees the transaction also where it fails.
  for (auto& table : tables_) table.cursor.reset();
  logCursor_.reset();
  check(mdb_txn_commit(txn_.release()), env_.directory(), "commit");
  return meta_;
}

}  // namespace Pondo
