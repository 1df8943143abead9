#include "platform/pondo/environment/lmdb_handles.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <tuple>
#include <vector>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace Pondo {
namespace {

using Reason = EnvironmentException::Reason;

// LMDB's codes are negative and errno's positive (lmdb.h): one table has both.
struct CodeText {
  int code;
  Reason reason;
  char const* advice;
};

// What LMDB says of a file that was damaged counts as foreign: the publisher makes another.
constexpr char const* remake = "restart the publisher, which makes the tables anew";
constexpr CodeText codeTexts[] = {
    {ENOENT, Reason::absent, "start kelbased, or set KELBASE_RUNDIR to its run directory"},
    {ENOTDIR, Reason::absent, "set KELBASE_RUNDIR to a directory"},
    {ELOOP, Reason::absent, "set KELBASE_RUNDIR to a directory"},
    {ENAMETOOLONG, Reason::absent, "set KELBASE_RUNDIR to a directory"},
    {EACCES, Reason::denied, "let this user's group own the files (kelbased --group)"},
    {EPERM, Reason::denied, "let this user's group own the files (kelbased --group)"},
    {EROFS, Reason::readOnlyMount, "remount it read-write"},
    {ENOSPC, Reason::noSpace, "the file system is full: enlarge or clear it"},
    {EFBIG, Reason::noSpace, "raise the limit of file sizes (ulimit -f)"},
    {EDQUOT, Reason::noSpace, "the file system is full: enlarge or clear it"},
    // What LMDB says of a write that ended early (mdb.c, mdb_page_flush).
    {EIO, Reason::noSpace, "the file system is full: enlarge or clear it"},
    {MDB_MAP_FULL, Reason::noSpace, "end stopped readers, or use a larger map"},
    {EAGAIN, Reason::busy, "it is tried again"},
    {EINTR, Reason::busy, "it is tried again"},
    {ENOMEM, Reason::busy, "raise the address space limit (ulimit -v); it is tried again"},
    {EMFILE, Reason::busy, "raise the open files limit (ulimit -n); it is tried again"},
    {ENFILE, Reason::busy, "raise fs.file-max; it is tried again"},
    {MDB_READERS_FULL, Reason::busy, "end unused readers; it is tried again"},
    {MDB_BAD_RSLOT, Reason::busy, "it is tried again"},
    {MDB_MAP_RESIZED, Reason::busy, "it is tried again"},
    {MDB_BAD_TXN, Reason::busy, "it is tried again"},
    {MDB_INVALID, Reason::foreign, "remove it and restart the publisher"},
    {MDB_VERSION_MISMATCH, Reason::foreign, "remove it and restart the publisher"},
    {MDB_CORRUPTED, Reason::foreign, remake},
    {MDB_PAGE_NOTFOUND, Reason::foreign, remake},
    {MDB_PANIC, Reason::foreign, remake},
};

// LMDB protects an environment by a record lock on lock.mdb, which the process loses when it closes
// any descriptor of that file (fcntl(2)). A second environment would take the first one's away.
// Environments open in this process, by data file.
std::vector<FileIdentity>& openInProcess() {
  static std::vector<FileIdentity> open;
  return open;
}

void refuseSecond(std::filesystem::path const& directory) {
  auto const& open = openInProcess();
  auto const found = identityAt(directory / Format::dataFile);
  // No file yet: tables that are being made.
  if (!found || std::find(open.begin(), open.end(), *found) == open.end()) return;
  throw EnvironmentException(
      fmt::format("{}: is open in this process already; close that reader or writer first",
                  directory.string()));
}

// As much of the map as is opened where all of it does not fit the address space that the process
// may have (setrlimit(2)): a quarter of that. Two environments are open at a time while tables move
// to a copy. 0 where there is no limit.
std::size_t smallerMap() {
  struct rlimit limit {};
  if (::getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return 0;
  constexpr std::size_t step = std::size_t{1} << 20U;
  return std::max<std::size_t>(limit.rlim_cur / 4 / step, 1) * step;
}

struct EnvClose {
  void operator()(MDB_env* env) const { mdb_env_close(env); }
};
using EnvPtr = std::unique_ptr<MDB_env, EnvClose>;

EnvPtr makeHandle(std::filesystem::path const& directory, std::size_t mapSize) {
  MDB_env* env = nullptr;
  check(mdb_env_create(&env), directory, "open");
  EnvPtr owned(env);
  // Beside the tables: "meta" and "log".
  mdb_env_set_maxdbs(env, Format::tableIdEnd + 2);
  // Without a size the file's own meta page tells it (mdb.c, mdb_env_open2): a reader has what the
  // publisher chose.
  if (mapSize != 0) check(mdb_env_set_mapsize(env, mapSize), directory, "size the map");
  return owned;
}

}  // namespace

void throwCode(int code, std::filesystem::path const& path, std::string_view what) {
  auto const* const found =
      std::find_if(std::begin(codeTexts), std::end(codeTexts),
                   [code](CodeText const& text) { return text.code == code; });
  bool const known = found != std::end(codeTexts);
  // A code without a row tells of the machine rather than of the tables: the kernel knows more.
  char const* const advice = known ? found->advice : "see the kernel's log";
  // mdb_strerror() has the texts of errno as well (lmdb.h).
  throw EnvironmentException(
      fmt::format("{}: cannot {}: {}; {}", path.string(), what, mdb_strerror(code), advice),
      known ? found->reason : Reason::other);
}

void throwForeign(std::filesystem::path const& path, std::string_view what) {
  throw EnvironmentException(
      fmt::format("{}: {}; remove it and restart the publisher", path.string(), what),
      Reason::foreign);
}

// No fsync: a tmpfs does not outlive the machine anyway. No slot bound to a thread, so that a
// snapshot belongs to its object. No read-ahead of what lies in memory. No MDB_WRITEMAP: a full
// tmpfs is an error of write(2) then, and not a SIGBUS.
Environment::Environment(std::filesystem::path directory, Mode mode, std::size_t mapSize)
    : Environment(std::move(directory),
                  MDB_NOTLS | MDB_NORDAHEAD | (mode == Mode::read ? MDB_RDONLY : MDB_NOSYNC),
                  mapSize) {
  bool const makes = mode == Mode::make;
  auto txn = begin(makes ? 0 : MDB_RDONLY);
  // Before anything is read: without a slot even the meta record could change underneath.
  if (mode == Mode::read) requireSlot();
  openTables(txn.get(), makes);
  // A commit, though of nothing, keeps the handles open: LMDB closes those of a transaction that is
  // aborted (lmdb.h, mdb_dbi_open).
  check(mdb_txn_commit(txn.release()), directory_, makes ? "write" : "read");
}

Environment::Environment(std::filesystem::path directory, unsigned flags, std::size_t mapSize)
    : directory_(std::move(directory)) {
  refuseSecond(directory_);
  auto env = makeHandle(directory_, mapSize);
  // The mode is of both files where LMDB makes them; who makes tables narrows data.mdb's after that
  // (table_directory.cc).
  int code = mdb_env_open(env.get(), directory_.c_str(), flags, 0660);
  if (auto const smaller = smallerMap(); code == ENOMEM && smaller != 0) {
    // A handle that could not be opened is of no further use (lmdb.h, mdb_env_open).
    env = makeHandle(directory_, smaller);
    code = mdb_env_open(env.get(), directory_.c_str(), flags, 0660);
  }
  check(code, directory_, "open");
  // Of the file that is mapped, wherever the path leads by now.
  mdb_env_get_fd(env.get(), &dataFd_);
  struct stat status {};
  if (::fstat(dataFd_, &status) != 0) throwCode(errno, directory_, "open");
  data_ = {status.st_dev, status.st_ino};
  size_ = status.st_size;
  watchLock();
  // Should this fail, `env` is closed before lock_: LMDB's locks end with it, and not before.
  openInProcess().push_back(data_);
  env_ = env.release();  // nothing throws from here on
}

void Environment::watchLock() {
  auto const file = directory_ / Format::lockFile;
  // LMDB shows nobody its own descriptor. For writing: mend() gives the file its length back.
  lock_ = Mav::Descriptor(::open(file.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  // A process that cannot have it goes without the checks of damaged().
  if (!lock_ || ::fstat(lock_.get(), &status) != 0) return;
  lockSize_ = status.st_size;
  lockHead_ = lockHead().value_or(LockHead{});
}

std::optional<Environment::LockHead> Environment::lockHead() const {
  LockHead head{};
  auto const got = ::pread(lock_.get(), head.data(), head.size(), 0);
  if (got != static_cast<ssize_t>(head.size())) return std::nullopt;
  return head;
}

// A commit that failed amid its writes leaves pages behind the last used one. A hole gives their
// room back to the tmpfs, and the file keeps its size.
void Environment::freeBeyondLastPage() const {
  MDB_envinfo info{};
  MDB_stat stat{};
  mdb_env_info(env_, &info);
  mdb_env_stat(env_, &stat);
  auto const used = static_cast<std::int64_t>((info.me_last_pgno + 1) * stat.ms_psize);
  if (used >= size_) return;
  std::ignore =
      ::fallocate(dataFd_, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, used, size_ - used);
}

// LMDB writes into the mapped lock file to end a snapshot or close. Where somebody has cut the
// file, that would be SIGBUS (mmap(2)): it gets its length back first.
void Environment::mend() const {
  struct stat status {};
  if (lock_ && ::fstat(lock_.get(), &status) == 0 && status.st_size < lockSize_) {
    std::ignore = ::ftruncate(lock_.get(), lockSize_);
  }
}

Environment::~Environment() {
  mend();
  mdb_env_close(env_);
  auto& open = openInProcess();
  open.erase(std::find(open.begin(), open.end(), data_));
}

char const* Environment::damaged() const {
  // By the descriptor: a file that was replaced at the path is whole itself, and Reader::current()
  // or Writer::service() finds that out.
  struct stat status {};
  if (::fstat(dataFd_, &status) != 0 || status.st_size < size_) return Format::dataFile;
  if (!lock_) return nullptr;
  bool const isWhole =
      ::fstat(lock_.get(), &status) == 0 && status.st_size >= lockSize_ && lockHead() == lockHead_;
  return isWhole ? nullptr : Format::lockFile;
}

TxnPtr Environment::begin(unsigned flags) const {
  MDB_txn* txn = nullptr;
  check(mdb_txn_begin(env_, nullptr, flags, &txn), directory_, flags == 0 ? "write" : "read");
  return TxnPtr(txn);
}

void Environment::requireSlot() const {
  // On a read-only mount LMDB goes on without a lock table and says nothing (mdb.c,
  // mdb_env_setup_locks): the publisher would reuse pages under the snapshot.
  MDB_envinfo info{};
  mdb_env_info(env_, &info);
  // The caller's own transaction has a slot by now, where there is a lock table.
  if (info.me_numreaders > 0) return;
  struct statvfs mount {};
  bool const readOnly =
      ::statvfs(directory_.c_str(), &mount) == 0 && (mount.f_flag & ST_RDONLY) != 0;
  throw EnvironmentException(
      fmt::format("{}: {}, so readers cannot be registered and reading is not safe; {}",
                  directory_.string(),
                  readOnly ? "is on a read-only mount" : "has a lock file that cannot be used",
                  readOnly ? "remount it read-write" : "restart the publisher"),
      Reason::readOnlyMount);
}

void Environment::openTables(MDB_txn* txn, bool create) {
  auto const open = [&](char const* name) {
    MDB_dbi dbi = 0;
    int const code = mdb_dbi_open(txn, name, create ? MDB_CREATE : 0, &dbi);
    // MDB_INCOMPATIBLE: what has this name is a record, and no table (lmdb.h).
    if (code == MDB_NOTFOUND || code == MDB_INCOMPATIBLE) {
      throwForeign(directory_ / Format::dataFile,
                   fmt::format("holds other data (no table \"{}\")", name));
    }
    check(code, directory_, "open a table");
    return dbi;
  };
  tables_.meta = open(Format::metaTable);
  // The version decides what other tables there are.
  if (!create) meta(txn);
  tables_.log = open(Format::logTable);
  for (auto const& table : Format::tables) {
    tables_.tables.at(static_cast<std::size_t>(table.id)) = open(table.name);
  }
}

Format::MetaRecord Environment::meta(MDB_txn* txn) const {
  auto const file = directory_ / Format::dataFile;
  MDB_val key = toVal(Format::metaKey);
  MDB_val value{};
  bool const isThere = isFound(mdb_get(txn, tables_.meta, &key, &value), directory_, "read");
  std::array<std::uint32_t, 2> head{};  // magic, schema: these never move
  bool const hasHead = isThere && value.mv_size >= sizeof head;
  if (hasHead) std::memcpy(head.data(), value.mv_data, sizeof head);
  // Magic and version come first and never move, so that every version can tell another one.
  if (head[0] != Format::metaMagic) throwForeign(file, "holds other data");
  Format::MetaRecord record;
  if (head[1] != Format::schemaVersion || value.mv_size != sizeof record) {
    throw EnvironmentException(
        fmt::format("{}: has schema version {}, this program needs {}; install publisher and "
                    "readers of one version and restart them",
                    file.string(), head[1], Format::schemaVersion),
        Reason::schema);
  }
  std::memcpy(&record, value.mv_data, sizeof record);
  return record;
}

}  // namespace Pondo
