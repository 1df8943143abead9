#pragma once
// The publisher's side of the shared tables: the one writer of a run directory.
//
// A Writer makes the run directory and the environment where they are missing, takes the publisher
// lock, and keeps what an earlier publisher has left: that state is served on, and only differences
// are written. Changes gather in one LMDB transaction. commit() makes them visible at once, with a
// new generation and their entries in the change log, and rings the doorbell. A put of what is
// there already (of a route, whatever its age), and an erase of what is not, change nothing, log
// nothing, and say false. A batch of batchMax changes is committed without being asked.
//
// When an operation throws, the transaction is aborted and the tables are as after the last commit:
// the caller writes everything again. Once an environment is lost (the run directory was deleted, a
// file truncated, LMDB calls it broken), put, erase and commit throw until service() has made it
// anew.
//
// A Writer is made after any fork and used on one thread. A process that has one cannot open a
// Reader of the same run directory (format.h, caveats): it is refused.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <absl/functional/function_ref.h>

#include "platform/pondo/environment/errors.h"
#include "platform/pondo/environment/publisher_lock.h"
#include "platform/pondo/tables/codec.h"
#include "platform/pondo/tables/layout_bytes.h"
#include "platform/pondo/tables/tables.h"

namespace Pondo {

class Writer {
 public:
  static constexpr std::size_t batchMax = 10'000;

  struct Options {
    std::string publisher = "kelbased";  // name told in publisher.lock
    std::string version = {};            // the same
    Origin origin = Origin::kernel;      // of the state that is written
    std::string group = {};              // group of the files; empty: leave as created
    std::size_t mapSize = std::size_t{16} << 30U;
    std::size_t logMax = 200'000;  // change log entries that are kept, at least
    // A reader that has stopped inside a snapshot may pin this many bytes beyond twice the live
    // ones. Beyond that the tables move to a new environment, and leave that reader the old one.
    std::size_t pinnedMax = std::size_t{64} << 20U;
  };

  struct SyncCounts {
    std::size_t added = 0, changed = 0, removed = 0, unchanged = 0;
  };

  /// Takes the run directory. EnvironmentException when it is not to be had;
  /// PublisherRunningException, which names the other's process id, when another publisher has it.
  Writer(std::filesystem::path runDir, Options options);
  ~Writer();
  Writer(Writer const&) = delete;
  Writer& operator=(Writer const&) = delete;

  template <class Table>
  bool put(typename Table::Key const& key, typename Table::Record const& record) {
    if constexpr (std::is_same_v<typename Table::Record,
                                 Fib::Route>) {  // a million: no allocations
      return putBytes(Table::id, asView(routeKeyBytes(key)), asView(routeRecordBytes(record)));
    } else {
      return putBytes(Table::id, Table::encodeKey(key), Table::encodeRecord(record));
    }
  }

  template <class Table>
  bool erase(typename Table::Key const& key) {
    return eraseBytes(Table::id, Table::encodeKey(key));
  }

  /// Makes the table equal to `wanted`, writing the difference: removals first, then the rest.
  template <class Table>
  SyncCounts sync(std::map<typename Table::Key, typename Table::Record> const& wanted);

  /// Calls visit(key, record) for every record of the table in key order, with what is not
  /// committed yet. Malformed records are skipped; a put of their keys mends them. `visit` must not
  /// call the writer; what it throws ends the scan and aborts what was not committed.
  template <class Table, class Visit>
  void scan(Visit const& visit) {
    scanBytes(Table::id, [&](std::string_view keyBytes, std::string_view recordBytes) {
      auto const key = Table::decodeKey(keyBytes);
      auto const record = Table::decodeRecord(recordBytes);
      if (key && record) visit(*key, *record);
    });
  }

  /// Makes the changes visible; has no effect when nothing changed.
  void commit();
  /// Does the same and marks the tables as complete. Readers of new tables wait for that mark, so
  /// that they never take what is not there yet for what has gone. It stays until the tables are
  /// made anew. Changes before it are not logged, which is far faster. It writes
  /// the origin even where nothing else changed.
  void commitComplete();
  /// Forgets the changes that were not committed.
  void abort();
  /// Removes the tables, in which there is no room to change them: what is to be written is less
  /// than what they hold. service() makes new ones; readers keep what they have meanwhile.
  void giveUp();

  std::uint64_t generation() const;

  /// Frees the slots of dead readers, replaces the environment when a stopped reader pins too much
  /// of it, and makes the run directory anew when it was deleted or replaced.
  /// The caller calls it about once a second, and when noticeFd() is readable. True when the tables
  /// are new and empty, so that everything has to be published again. PublisherRunningException
  /// when another publisher has taken the path over.
  [[nodiscard]] bool service();

  /// Tells readers how the publisher does (publisher.lock), and rings when it does well again.
  /// Once a second, whatever service() says. Never throws.
  void tell(SignOfLife const& sign);

  /// Readable when something happened to the run directory's files (inotify); -1 where the kernel
  /// has none to give.
  int noticeFd() const;

  /// Do what put, erase, scan and sync do, with encoded keys and records. Keys that come in
  /// ascending order are appended, which is far faster.
  using Bytes = std::string;
  bool putBytes(TableId table, std::string_view key, std::string_view value);
  bool eraseBytes(TableId table, std::string_view key);
  void scanBytes(TableId table, absl::FunctionRef<void(std::string_view, std::string_view)> visit);
  SyncCounts syncBytes(TableId table, std::vector<std::pair<Bytes, Bytes>> const& wanted);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

template <class Table>
Writer::SyncCounts Writer::sync(
    std::map<typename Table::Key, typename Table::Record> const& wanted) {
  std::vector<std::pair<Bytes, Bytes>> rows;
  rows.reserve(wanted.size());
  for (auto const& [key, record] : wanted) {
    rows.emplace_back(Table::encodeKey(key), Table::encodeRecord(record));
  }
  return syncBytes(Table::id, rows);
}

}  // namespace Pondo
