#pragma once
// LMDB's handles as owners, and its codes as exceptions. The one place, with lmdb_handles.cc, that
// knows how this program opens environments.

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>

#include <lmdb.h>

#include "platform/pondo/environment/descriptor.h"
#include "platform/pondo/environment/errors.h"
#include "platform/pondo/tables/format.h"

namespace Pondo {

/// Throws an EnvironmentException for an LMDB code or an errno other than 0.
/// `what` says what was being done ("open", "read"); `path` names the directory or file.
void check(int code, std::filesystem::path const& path, std::string_view what);

/// The same, unconditionally.
[[noreturn]] void throwCode(int code, std::filesystem::path const& path, std::string_view what);

/// An aborted transaction is as good as none; commit() gives it up beforehand.
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

/// The handles of an environment's named tables.
struct TableHandles {
  MDB_dbi meta = 0;
  MDB_dbi log = 0;
  std::array<MDB_dbi, Format::tableIdEnd> tables{};

  MDB_dbi operator[](TableId id) const { return tables.at(static_cast<std::size_t>(id)); }
};

/// An open environment. Only one per directory in a process (format.h, caveats): a second one is
/// refused with an EnvironmentException.
class Environment {
 public:
  enum class Mode { read, write };

  /// Opens `directory`, whose files must have been checked (checkFiles) or be new.
  Environment(std::filesystem::path directory, Mode mode, std::size_t mapSize);
  ~Environment();
  Environment(Environment const&) = delete;
  Environment& operator=(Environment const&) = delete;

  MDB_env* get() const { return env_; }
  std::filesystem::path const& directory() const { return directory_; }
  /// The directory was renamed.
  void directoryIs(std::filesystem::path directory) { directory_ = std::move(directory); }

  FileIdentity dataIdentity() const { return data_; }
  /// False when data.mdb has become shorter than it must be: reading would end in SIGBUS.
  bool whole() const;
  /// The size that whole() requires from now on.
  void sizeIs(std::int64_t size) { size_ = size; }

 private:
  std::filesystem::path directory_;
  MDB_env* env_ = nullptr;
  int dataFd_ = -1;
  std::int64_t size_ = 0;
  FileIdentity data_;
};

/// Opens (or makes, in a write transaction) all tables. Foreign when one is missing.
TableHandles openTables(MDB_txn* txn, bool create, std::filesystem::path const& directory);

/// The meta record, checked: foreign or schema exceptions.
Format::MetaRecord readMeta(MDB_txn* txn, MDB_dbi meta, std::filesystem::path const& directory);

}  // namespace Pondo
