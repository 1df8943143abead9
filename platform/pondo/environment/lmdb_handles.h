#pragma once
// LMDB's handles with owners, and its codes as exceptions. This header and lmdb_handles.cc alone
// know how this program opens an environment, and which of LMDB's codes means what.

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>

#include <lmdb.h>

#include "platform/mav/descriptor.h"
#include "platform/pondo/environment/errors.h"
#include "platform/pondo/environment/file_identity.h"
#include "platform/pondo/tables/format.h"

namespace Pondo {

/// Throws an EnvironmentException for `code`, of LMDB or an errno. `what` says what was being done
/// ("open", "read"), `path` which directory or file it was done to.
[[noreturn]] void throwCode(int code, std::filesystem::path const& path, std::string_view what);

/// Throws one of what lies at `path` and is not this program's, and says to remove it.
[[noreturn]] void throwForeign(std::filesystem::path const& path, std::string_view what);

/// Throws as throwCode() when `code` is not 0.
inline void check(int code, std::filesystem::path const& path, std::string_view what) {
  if (code != MDB_SUCCESS) throwCode(code, path, what);
}

/// The same of a search; false when LMDB has found nothing.
inline bool isFound(int code, std::filesystem::path const& path, std::string_view what) {
  if (code != MDB_NOTFOUND) check(code, path, what);
  return code == MDB_SUCCESS;
}

/// Aborts the transaction of a TxnPtr that is dropped. Who commits releases the pointer first,
/// because a commit frees the transaction, whether it succeeds or not.
struct TxnAbort {
  void operator()(MDB_txn* txn) const { mdb_txn_abort(txn); }
};
using TxnPtr = std::unique_ptr<MDB_txn, TxnAbort>;

struct CursorClose {
  void operator()(MDB_cursor* cursor) const { mdb_cursor_close(cursor); }
};
using CursorPtr = std::unique_ptr<MDB_cursor, CursorClose>;

inline MDB_val toVal(std::string_view bytes) {
  // LMDB takes non-const pointers for what it only reads.
  return {bytes.size(), const_cast<char*>(bytes.data())};
}

inline std::string_view fromVal(MDB_val const& val) {
  return {static_cast<char const*>(val.mv_data), val.mv_size};
}

/// The handles of an environment's named tables. They serve every transaction of it.
struct TableHandles {
  MDB_dbi meta = 0;
  MDB_dbi log = 0;
  std::array<MDB_dbi, Format::tableIdEnd> tables{};

  MDB_dbi operator[](TableId id) const { return tables.at(static_cast<std::size_t>(id)); }
};

/// An open environment, with its tables. A process has one of a directory at most (format.h,
/// caveats): a second one is refused with an EnvironmentException. It outlives its transactions. On
/// one thread, that of the Reader or Writer that owns it.
class Environment {
 public:
  enum class Mode { read, write, make };

  /// Opens `directory` and its tables, or makes both. Its files have been checked before
  /// (checkFiles), or are new: LMDB itself would crash on some of what can lie there. A `mapSize`
  /// of 0 is the one that the file tells; less is mapped where the process may not have so much
  /// address space (RLIMIT_AS). The reason of its exception is foreign when a table is missing,
  /// schema when the tables are of another version, readOnlyMount where a reader would have no
  /// slot.
  Environment(std::filesystem::path directory, Mode mode, std::size_t mapSize);
  ~Environment();
  Environment(Environment const&) = delete;
  Environment& operator=(Environment const&) = delete;

  MDB_env* get() const { return env_; }
  TableHandles const& tables() const { return tables_; }
  /// Begins a transaction, one that reads (MDB_RDONLY) or one that writes (0).
  TxnPtr begin(unsigned flags) const;
  /// Reads and checks the meta record. The reason of its exception is foreign or schema.
  Format::MetaRecord meta(MDB_txn* txn) const;
  std::filesystem::path const& directory() const { return directory_; }
  /// Takes note that the directory was renamed.
  void directoryIs(std::filesystem::path directory) { directory_ = std::move(directory); }

  /// Of the file that is mapped, wherever the path leads by now.
  FileIdentity dataIdentity() const { return data_; }
  /// Gives the name of a file that has become shorter than it was, or of the lock file when it
  /// begins with other bytes; else null. To use it would end in SIGBUS, or under no lock. Asked
  /// before each snapshot and each write transaction: it costs two fstat(2) and one pread(2).
  char const* damaged() const;
  /// Sets the size that damaged() requires of data.mdb from now on.
  void sizeIs(std::int64_t size) { size_ = size; }
  /// Gives the file system back what transactions that failed have left beyond the last page in
  /// use. For the writer, outside of a transaction.
  void freeBeyondLastPage() const;
  /// Gives a lock.mdb that was cut its length back, though not what it held: transactions, cursors
  /// and the environment write to it when they end. For an environment that is given up.
  void mend() const;

 private:
  static constexpr std::size_t lockHeadSize = 8;  // magic and format (mdb.c, MDB_txbody)
  using LockHead = std::array<char, lockHeadSize>;

  /// Opens what LMDB opens; the flags are its own.
  Environment(std::filesystem::path directory, unsigned flags, std::size_t mapSize);
  void requireSlot() const;
  void openTables(MDB_txn* txn, bool create);
  void watchLock();
  std::optional<LockHead> lockHead() const;

  std::filesystem::path directory_;
  MDB_env* env_ = nullptr;
  TableHandles tables_;
  int dataFd_ = -1;
  std::int64_t size_ = 0;
  FileIdentity data_;
  // Closed after LMDB's own (format.h, caveats). None where LMDB has gone on without a lock file.
  Mav::Descriptor lock_;
  std::int64_t lockSize_ = 0;
  LockHead lockHead_{};
};

}  // namespace Pondo
