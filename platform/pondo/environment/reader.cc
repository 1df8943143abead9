#include "platform/pondo/environment/reader.h"

#include <array>
#include <cerrno>

#include <fmt/format.h>
#include <unistd.h>

#include "platform/pondo/environment/lmdb_handles.h"
#include "platform/pondo/environment/table_files.h"
#include "platform/pondo/tables/format.h"
#include "platform/pondo/tables/layout_bytes.h"

namespace Pondo {
namespace {

using Reason = EnvironmentException::Reason;

std::filesystem::path checkedTables(std::filesystem::path const& runDir) {
  // Tells a run directory that is absent from tables that are not there yet.
  if (::access(runDir.c_str(), F_OK) != 0) throwCode(errno, runDir, "open");
  auto tables = runDir / Format::tablesDirectory;
  checkFiles(tables);
  return tables;
}

}  // namespace

struct Reader::Impl {
  explicit Impl(std::filesystem::path const& runDir)
      : tables(checkedTables(runDir)),
        // Asked before LMDB opens the file: where it is replaced in between, current() finds out.
        lockFile(identityAt(tables / Format::lockFile).value_or(FileIdentity{})),
        env(tables, Environment::Mode::read, 0) {}
  // Before transaction and environment end, which write to the lock file.
  ~Impl() { env.mend(); }
  Impl(Impl const&) = delete;
  Impl& operator=(Impl const&) = delete;

  void begin();
  void end();
  /// A cursor of this transaction. Cursors that were left are renewed, which spares an allocation.
  struct Cursor {
    CursorPtr cursor;
    bool isOfTxn = false;
  };
  using Cursors = std::array<Cursor, Format::tableIdEnd + 2>;  // by LMDB's handle
  MDB_cursor* cursorOn(Cursors& cursors, MDB_dbi table);

  std::filesystem::path const tables;
  FileIdentity const lockFile;
  Environment env;
  TxnPtr txn;
  Cursors scans;
  Cursors gets;  // apart: a visitor of a scan may get
  bool reading = false;
  std::uint64_t malformed = 0;
};

void Reader::Impl::begin() {
  if (reading) {
    throw EnvironmentException(tables.string() +
                               ": two snapshots of one reader at a time; drop the first one");
  }
  // To read a page that lies behind the end of a file is SIGBUS (mmap(2)), and would end snmpd.
  if (auto const* const file = env.damaged()) {
    throw EnvironmentException(
        fmt::format("{}: has been cut or overwritten; restart the publisher, which makes it anew",
                    (tables / file).string()),
        Reason::truncated);
  }
  if (txn) {
    // A transaction that was reset has kept its slot: to renew it takes no lock and no search.
    check(mdb_txn_renew(txn.get()), env.directory(), "read");
  } else {
    txn = env.begin(MDB_RDONLY);
  }
  reading = true;
}

MDB_cursor* Reader::Impl::cursorOn(Cursors& cursors, MDB_dbi table) {
  auto& [cursor, isOfTxn] = cursors.at(table);
  if (isOfTxn) return cursor.get();
  MDB_cursor* raw = cursor.get();
  int const code = raw ? mdb_cursor_renew(txn.get(), raw) : mdb_cursor_open(txn.get(), table, &raw);
  check(code, env.directory(), "read");
  if (!cursor) cursor.reset(raw);
  isOfTxn = true;
  return raw;
}

void Reader::Impl::end() {
  env.mend();
  // From here on the publisher may use the snapshot's pages again; the slot stays. Views of records
  // end here.
  mdb_txn_reset(txn.get());
  for (auto* const cursors : {&scans, &gets}) {
    for (auto& cursor : *cursors) cursor.isOfTxn = false;
  }
  reading = false;
}

Snapshot::Snapshot(Reader const& reader) : reader_(reader) { reader.impl_->begin(); }

Snapshot::~Snapshot() { reader_.impl_->end(); }

Format::MetaRecord const& Snapshot::meta() const {
  auto const& impl = *reader_.impl_;
  // Once a snapshot: it cannot change within one.
  if (!meta_) meta_ = impl.env.meta(impl.txn.get());
  return *meta_;
}

std::uint64_t Snapshot::generation() const { return meta().generation; }

Origin Snapshot::origin() const { return static_cast<Origin>(meta().origin); }

LogState Snapshot::log() const {
  return {meta().instance, meta().logFirst, meta().logNext, meta().complete != 0};
}

void Snapshot::countMalformed() const { ++reader_.impl_->malformed; }

std::size_t Snapshot::count(TableId table) const {
  auto const& impl = *reader_.impl_;
  MDB_stat stat{};
  check(mdb_stat(impl.txn.get(), impl.env.tables()[table], &stat), impl.env.directory(), "read");
  return stat.ms_entries;
}

// A cursor looks first whether the key is in the page where it stands: gets in order seldom descend
// from the root.
std::optional<std::string_view> Snapshot::getBytes(TableId table, std::string_view key) const {
  auto& impl = *reader_.impl_;
  // LMDB calls such a key an error (MDB_BAD_VALSIZE); to a reader it is one that no table has.
  if (key.empty() || key.size() > Format::keyMax) return std::nullopt;
  MDB_val keyVal = toVal(key);
  MDB_val value{};
  int const code =
      mdb_cursor_get(impl.cursorOn(impl.gets, impl.env.tables()[table]), &keyVal, &value, MDB_SET);
  if (!isFound(code, impl.env.directory(), "read")) return std::nullopt;
  return fromVal(value);
}

std::optional<std::string> Snapshot::scanBytes(
    TableId table, std::string_view from, std::size_t limit,
    absl::FunctionRef<void(std::string_view, std::string_view)> visit) const {
  auto& impl = *reader_.impl_;
  MDB_cursor* const cursor = impl.cursorOn(impl.scans, impl.env.tables()[table]);
  MDB_val key = toVal(from);
  MDB_val value{};
  int code = mdb_cursor_get(cursor, &key, &value, from.empty() ? MDB_FIRST : MDB_SET_RANGE);
  for (; isFound(code, impl.env.directory(), "read");
       code = mdb_cursor_get(cursor, &key, &value, MDB_NEXT)) {
    // Asked with the next key in hand: a table that ends with the limit needs no further call.
    if (limit-- == 0) return std::string(fromVal(key));
    visit(fromVal(key), fromVal(value));
  }
  return std::nullopt;
}

std::uint64_t Snapshot::scanLog(std::uint64_t from, std::size_t limit,
                                absl::FunctionRef<bool(TableId, std::string_view)> visit) const {
  auto& impl = *reader_.impl_;
  MDB_cursor* const cursor = impl.cursorOn(impl.scans, impl.env.tables().log);
  auto start = bigEndian(from);
  MDB_val key{start.size(), start.data()};
  MDB_val value{};
  int code = mdb_cursor_get(cursor, &key, &value, MDB_SET_RANGE);
  for (; isFound(code, impl.env.directory(), "read") && limit > 0; --limit) {
    auto const sequence = fromBigEndian<std::uint64_t>(fromVal(key));
    auto const entry = fromVal(value);
    // A gap would be a lost change. It counts as damage: the follower lets go of the reader, and
    // asks again at its next look.
    if (sequence != from) throwCode(MDB_CORRUPTED, impl.env.directory(), "read");
    ++from;
    if (entry.size() > 1 && Format::isTable(static_cast<std::uint8_t>(entry[0]))) {
      if (!visit(static_cast<TableId>(entry[0]), entry.substr(1))) return from;
    } else {
      countMalformed();
    }
    code = mdb_cursor_get(cursor, &key, &value, MDB_NEXT);
  }
  return from;
}

Reader::Reader(std::filesystem::path runDir) : impl_(std::make_unique<Impl>(runDir)) {}

Reader::~Reader() = default;

Snapshot Reader::snapshot() const { return Snapshot(*this); }

// The lock file counts too: where it was replaced, the publisher does not see the slots in the old
// one.
bool Reader::current() const {
  return identityAt(impl_->tables / Format::dataFile) == impl_->env.dataIdentity() &&
         identityAt(impl_->tables / Format::lockFile) == impl_->lockFile;
}

std::uint64_t Reader::malformed() const { return impl_->malformed; }

}  // namespace Pondo
