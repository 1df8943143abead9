#pragma once
// The reading side: an environment opened read-only, and snapshots of it. A Snapshot is a read
// transaction: what it shows is one generation, whole. It pins memory of the shared file, so it is
// short-lived: never kept across a turn of the loop, at most sliceMax records each.
//
// One per process and environment, made after any fork; one thread. A process that holds a Writer
// of the same run directory cannot open a Reader of it (format.h, caveats): that is refused.

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
/// For the few scans that have to be whole.
inline constexpr auto noLimit = std::numeric_limits<std::size_t>::max();

class Reader;

/// Where the change log stands: entries first to next - 1 are there. Another instance is another
/// history: its sequence numbers have nothing to do with the earlier ones.
struct LogState {
  std::uint64_t instance = 0;
  std::uint64_t first = 0;
  std::uint64_t next = 0;
  /// False while a publisher fills new tables for the first time: what is absent says nothing.
  bool complete = false;
};

class Snapshot {
 public:
  ~Snapshot();
  Snapshot(Snapshot const&) = delete;
  Snapshot& operator=(Snapshot const&) = delete;

  std::uint64_t generation() const;

  /// The record, or nothing when absent (or not well-formed: counted in Reader::rejected()).
  template <class Table>
  std::optional<typename Table::Record> get(typename Table::Key const& key) const {
    auto const bytes = getBytes(Table::id, encodeKey<Table>(key));
    if (!bytes) return std::nullopt;
    auto record = decodeRecord<Table>(*bytes);
    if (!record) countRejected();
    return record;
  }

  /// Calls visit(key, record) for up to `limit` records from the first key not less than `from`
  /// (bytes; empty: the first), in key order. Returns the key bytes to go on from, or nothing at
  /// the end. Malformed records are skipped and counted.
  template <class Table, class Visit>
  std::optional<std::string> scan(std::string_view from, std::size_t limit,
                                  Visit const& visit) const {
    return scanBytes(Table::id, from, limit,
                     [&](std::string_view keyBytes, std::string_view recordBytes) {
                       auto const key = decodeKey<Table>(keyBytes);
                       auto const record = decodeRecord<Table>(recordBytes);
                       if (key && record) {
                         visit(*key, *record);
                       } else {
                         countRejected();
                       }
                     });
  }

  /// Number of records, malformed ones included.
  std::size_t count(TableId table) const;

  /// As get and scan, undecoded. The views die with the snapshot.
  /// Gets in ascending order of keys, near one another, are several times faster than others.
  std::optional<std::string_view> getBytes(TableId table, std::string_view key) const;
  std::optional<std::string> scanBytes(
      TableId table, std::string_view from, std::size_t limit,
      absl::FunctionRef<void(std::string_view, std::string_view)> visit) const;

  LogState log() const;
  /// Calls visit(table, key) for up to `limit` entries of the change log, or until it says false,
  /// from sequence `from` on, which must not be less than log().first. Returns the sequence to go
  /// on from. Malformed entries are skipped and counted.
  std::uint64_t scanLog(std::uint64_t from, std::size_t limit,
                        absl::FunctionRef<bool(TableId, std::string_view)> visit) const;

 private:
  friend class Reader;
  explicit Snapshot(Reader const& reader);
  void countRejected() const;
  Format::MetaRecord const& meta() const;
  Reader const& reader_;
  mutable std::optional<Format::MetaRecord> meta_;  // once read
};

class Reader {
 public:
  /// EnvironmentException: absent, unreadable, foreign, truncated, wrong schema, or on a mount
  /// where readers cannot be registered (a snapshot would then not hold).
  explicit Reader(std::filesystem::path runDir);
  ~Reader();
  Reader(Reader const&) = delete;
  Reader& operator=(Reader const&) = delete;

  /// At most one lives at a time. EnvironmentException when the library refuses.
  Snapshot snapshot() const;

  /// False when the path leads to another environment (or to none) by now: open a new Reader.
  bool current() const;

  /// Records skipped as malformed so far.
  std::uint64_t rejected() const;

 private:
  friend class Snapshot;
  friend class Follower;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Pondo
