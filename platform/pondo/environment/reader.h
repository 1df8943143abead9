#pragma once
// The reading side of the shared tables: an environment that is open for reading, and snapshots of
// it. A Snapshot is a read transaction: it shows one generation, whole, whatever is committed
// meanwhile. The publisher cannot use the pages again that a snapshot shows, so a snapshot lives
// short: it ends with the turn of the loop, and work on it goes in slices of sliceMax records.
//
// A process has one Reader of an environment, made after any fork, on one thread. A process that
// has a Writer of the same run directory cannot open a Reader of it (format.h, caveats): it is
// refused.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <absl/functional/function_ref.h>

#include "platform/pondo/environment/errors.h"
#include "platform/pondo/tables/codec.h"
#include "platform/pondo/tables/tables.h"

namespace Pondo {

inline constexpr std::size_t sliceMax = 256;
/// The limit of the few scans that have to be whole.
inline constexpr auto noLimit = std::numeric_limits<std::size_t>::max();

class Reader;

/// Where the change log stands: the entries from first to next - 1 are there. Another instance has
/// another history: its sequence numbers have nothing to do with those of the earlier one.
struct LogState {
  std::uint64_t instance = 0;
  std::uint64_t first = 0;
  std::uint64_t next = 0;
  /// False while a publisher fills new tables for the first time. What is absent then says nothing.
  bool complete = false;
};

/// One generation of all tables, as a reader sees it. Its Reader outlives it, and has one at a
/// time. A get or a scan that LMDB refuses throws EnvironmentException; the snapshot is of no
/// further use then.
class Snapshot {
 public:
  ~Snapshot();
  Snapshot(Snapshot const&) = delete;
  Snapshot& operator=(Snapshot const&) = delete;

  std::uint64_t generation() const;
  /// Whose state it is.
  Origin origin() const;

  /// Gives the record, or nothing when there is none. A malformed one counts as none, and in
  /// Reader::malformed().
  template <class Table>
  std::optional<typename Table::Record> get(typename Table::Key const& key) const {
    auto const bytes = getBytes(Table::id, Table::encodeKey(key));
    if (!bytes) return std::nullopt;
    auto record = Table::decodeRecord(*bytes);
    if (!record) countMalformed();
    return record;
  }

  /// Calls visit(key, record) for up to `limit` records in key order, beginning with the first key
  /// not less than `from` (bytes; empty is the first of all). Returns the key bytes to go on from,
  /// or nothing at the end of the table. Malformed records are skipped and counted.
  template <class Table, class Visit>
  std::optional<std::string> scan(std::string_view from, std::size_t limit,
                                  Visit const& visit) const {
    return scanBytes(Table::id, from, limit,
                     [&](std::string_view keyBytes, std::string_view recordBytes) {
                       auto const key = Table::decodeKey(keyBytes);
                       auto const record = Table::decodeRecord(recordBytes);
                       if (key && record) {
                         visit(*key, *record);
                       } else {
                         countMalformed();
                       }
                     });
  }

  /// Counts the records, malformed ones included.
  std::size_t count(TableId table) const;

  /// Do what get and scan do, without decoding. The views end with the snapshot. Gets of keys that
  /// ascend, near one another, are several times faster than others.
  std::optional<std::string_view> getBytes(TableId table, std::string_view key) const;
  std::optional<std::string> scanBytes(
      TableId table, std::string_view from, std::size_t limit,
      absl::FunctionRef<void(std::string_view, std::string_view)> visit) const;

  LogState log() const;
  /// Calls visit(table, key) for up to `limit` entries of the change log, or until visit says
  /// false. It begins with the sequence `from`, which is not less than log().first, and returns the
  /// one to go on from. Malformed entries are skipped and counted.
  std::uint64_t scanLog(std::uint64_t from, std::size_t limit,
                        absl::FunctionRef<bool(TableId, std::string_view)> visit) const;

 private:
  friend class Reader;
  explicit Snapshot(Reader const& reader);
  void countMalformed() const;
  Format::MetaRecord const& meta() const;
  Reader const& reader_;
  mutable std::optional<Format::MetaRecord> meta_;  // once read
};

/// The open environment. To open one costs some files and a mapping, a snapshot of it next to
/// nothing: it keeps its slot in the lock table, and its cursors, from one to the next.
class Reader {
 public:
  /// Opens the tables. EnvironmentException when they are absent, unreadable, foreign, truncated,
  /// of another schema, or on a mount where readers cannot be registered: a snapshot would not hold
  /// there.
  explicit Reader(std::filesystem::path runDir);
  ~Reader();
  Reader(Reader const&) = delete;
  Reader& operator=(Reader const&) = delete;

  /// Takes a snapshot; one lives at a time. EnvironmentException when LMDB refuses.
  Snapshot snapshot() const;

  /// False when the path leads to another environment by now, or to none: a new Reader is needed.
  bool current() const;

  /// Counts the records that were skipped as malformed so far.
  std::uint64_t malformed() const;

 private:
  friend class Snapshot;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Pondo
