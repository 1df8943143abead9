#include "platform/pondo/environment/table_directory.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/random.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "platform/mav/trace_handle.h"
#include "platform/pondo/environment/table_files.h"

namespace Pondo {
namespace {

namespace fs = std::filesystem;
using Reason = EnvironmentException::Reason;

constexpr std::string_view stagingPrefix = "tables.new.";
constexpr std::string_view keptPrefix = "tables.foreign.";

/// A directory that tables are built in; removed unless they have been put in place.
class Staging {
 public:
  explicit Staging(fs::path const& runDir)
      : name_((runDir / stagingPrefix).string() + "XXXXXX"),
        place_(runDir / Format::tablesDirectory) {
    // With mode 0700 (mkdtemp(3)): nobody else opens tables that are half made.
    if (::mkdtemp(name_.data()) == nullptr) throwCode(errno, name_, "make");
  }
  // After an exchange the name leads to the old tables.
  ~Staging() { removeTableDirectory(name_); }
  Staging(Staging const&) = delete;
  Staging& operator=(Staging const&) = delete;

  fs::path path() const { return name_; }

  void install() const {
    // rename(2) does not replace a directory that has files in it. An exchange does, and the path
    // leads to whole tables at every moment.
    if (::renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, place_.c_str(), RENAME_NOREPLACE) == 0) {
      return;
    }
    if (errno != EEXIST ||
        ::renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, place_.c_str(), RENAME_EXCHANGE) != 0) {
      throwCode(errno, place_, "put in place");
    }
  }

  /// After install(): keeps what was there before.
  void keep() const {
    auto const kept =
        place_.parent_path() / (std::string(keptPrefix) + name_.substr(name_.size() - 6));
    // Where it fails, the destructor removes what was there.
    if (::rename(name_.c_str(), kept.c_str()) == 0) {
      Mav::log(Mav::Severity::notice, kept.string() + ": keeps what was in the tables' place");
    }
  }

 private:
  std::string name_;
  fs::path place_;
};

// No page below the last used one may lie beyond the end of the file (format.h, caveats).
void makeSparse(Environment& env, std::size_t mapSize) {
  auto const file = env.directory() / Format::dataFile;
  struct rlimit limit {};
  // To grow a file beyond the limit is answered with SIGXFSZ (setrlimit(2)), which ends the
  // process.
  if (::getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
    mapSize = std::min<std::size_t>(mapSize, limit.rlim_cur);
  }
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0) throwCode(errno, file, "size");
  // Never less than the file has: LMDB would use pages beyond its end.
  auto const size = std::max(static_cast<off_t>(mapSize), status.st_size);
  if (size != status.st_size && ::truncate(file.c_str(), size) != 0) {
    throwCode(errno, file, "size");
  }
  env.sizeIs(size);
}

void writeFirstMeta(Environment const& env) {
  // All else begins as the type says: generation 0, nobody's state, not complete.
  Format::MetaRecord meta;
  if (::getrandom(&meta.instance, sizeof meta.instance, 0) != sizeof meta.instance) {
    throwCode(errno, env.directory(), "draw an instance number for");
  }
  // The instance tells readers that these are other tables, even where generations and sequences
  // are those of tables before.
  meta.logFirst = meta.logNext = 1;
  MDB_val key = toVal(Format::metaKey);
  MDB_val value{sizeof meta, &meta};
  auto txn = env.begin(0);
  check(mdb_put(txn.get(), env.tables().meta, &key, &value, 0), env.directory(), "write");
  check(mdb_txn_commit(txn.release()), env.directory(), "write");
}

void openFiles(fs::path const& tables, FileSettings const& settings) {
  // The directory last: new tables are open to the group only when their files are.
  ownershipIs(tables / Format::dataFile, 0640, settings.group);
  ownershipIs(tables / Format::lockFile, 0660, settings.group);
  ownershipIs(tables, 0750, settings.group);
}

Mav::Descriptor openDoorbellIn(fs::path const& tables, FileSettings const& settings) {
  auto const file = tables / Format::doorbellFile;
  Mav::Descriptor fd(
      ::open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0660));
  if (!fd) throwCode(errno, file, "open");
  ownershipIs(file, 0660, settings.group);
  return fd;
}

// `fill` writes what the new tables begin with; it is done when they are put in place.
template <class Fill>
std::unique_ptr<Environment> build(fs::path const& runDir, FileSettings const& settings,
                                   bool keepOld, Fill const& fill) {
  Staging const staging(runDir);
  auto env = fill(staging.path());
  makeSparse(*env, settings.mapSize);
  // A reader that finds the tables finds their doorbell with them.
  openDoorbellIn(staging.path(), settings);
  openFiles(staging.path(), settings);
  // What has failed before this leaves the old tables in their place, untouched.
  staging.install();
  // LMDB goes on under the name that it was opened by: it works with descriptors, which no rename
  // touches.
  env->directoryIs(runDir / Format::tablesDirectory);
  if (keepOld) staging.keep();
  return env;
}

std::unique_ptr<Environment> makeEmpty(fs::path const& runDir, FileSettings const& settings,
                                       bool keepOld) {
  return build(runDir, settings, keepOld, [&](fs::path const& directory) {
    auto env = std::make_unique<Environment>(directory, Environment::Mode::make, settings.mapSize);
    writeFirstMeta(*env);
    return env;
  });
}

std::unique_ptr<Environment> openExisting(fs::path const& tables, FileSettings const& settings) {
  checkFiles(tables);
  openFiles(tables, settings);
  auto env = std::make_unique<Environment>(tables, Environment::Mode::write, settings.mapSize);
  // Not before the content is known to be ours: a foreign file keeps its length.
  makeSparse(*env, settings.mapSize);
  return env;
}

// New tables would meet these too.
bool canBeReplaced(Reason reason) {
  return reason != Reason::denied && reason != Reason::readOnlyMount && reason != Reason::noSpace;
}

}  // namespace

void makeRunDir(fs::path const& runDir, std::optional<gid_t> group) {
  std::error_code ignored;
  fs::create_directories(runDir.parent_path(), ignored);  // mkdir tells what matters
  if (::mkdir(runDir.c_str(), 0750) == 0) {
    ownershipIs(runDir, 0750, group);
    return;
  }
  if (errno != EEXIST) throwNotMine(errno, runDir, "make");
  struct stat status {};
  if (::stat(runDir.c_str(), &status) != 0) throwCode(errno, runDir, "use");
  if (!S_ISDIR(status.st_mode)) throwNotMine(ENOTDIR, runDir, "use");
  if (group && status.st_uid == ::geteuid()) ownershipIs(runDir, status.st_mode & 07777U, group);
}

void removeLeftovers(fs::path const& runDir) {
  std::error_code ignored;
  for (auto const& entry : fs::directory_iterator(runDir, ignored)) {
    auto const name = entry.path().filename().string();
    bool const isLeftover = name.starts_with(stagingPrefix) || name.starts_with(keptPrefix);
    // What is no directory, but a link or a file of such a name, goes by itself.
    if (isLeftover && !removeTableDirectory(entry.path())) ::unlink(entry.path().c_str());
  }
}

std::unique_ptr<Environment> openOrMakeTables(fs::path const& runDir,
                                              FileSettings const& settings) {
  auto const tables = runDir / Format::tablesDirectory;
  if (!identityAt(tables)) return makeEmpty(runDir, settings, false);
  try {
    return openExisting(tables, settings);
  } catch (EnvironmentException const& e) {
    if (!canBeReplaced(e.reason())) throw;
    Mav::log(Mav::Severity::warning,
             fmt::format("{}: the tables are made anew, because of {}", tables.string(), e.what()));
    // What may be another program's is kept.
    return makeEmpty(runDir, settings, e.reason() == Reason::foreign);
  }
}

std::unique_ptr<Environment> makeEmptyTables(fs::path const& runDir, FileSettings const& settings) {
  return makeEmpty(runDir, settings, false);
}

std::unique_ptr<Environment> makeCopiedTables(fs::path const& runDir, FileSettings const& settings,
                                              Environment& old) {
  return build(runDir, settings, false, [&](fs::path const& directory) {
    // The copy is of the last commit. The old environment stays open in the caller: its files have
    // no name after the exchange, and live until the last reader of them closes.
    check(mdb_env_copy2(old.get(), directory.c_str(), MDB_CP_COMPACT), directory, "copy into");
    // It makes the copy's lock.mdb: a copy comes without (lmdb.h, mdb_env_copy2).
    return std::make_unique<Environment>(directory, Environment::Mode::write, settings.mapSize);
  });
}

Mav::Descriptor openDoorbell(fs::path const& runDir, FileSettings const& settings) {
  return openDoorbellIn(runDir / Format::tablesDirectory, settings);
}

}  // namespace Pondo
