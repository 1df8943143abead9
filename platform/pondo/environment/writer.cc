#include "platform/pondo/environment/writer.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>
#include <utility>

#include <fmt/format.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "platform/mav/time.h"
#include "platform/mav/trace_handle.h"
#include "platform/pondo/environment/path_watch.h"
#include "platform/pondo/environment/reader_report.h"
#include "platform/pondo/environment/reader_slots.h"
#include "platform/pondo/environment/table_directory.h"
#include "platform/pondo/environment/table_files.h"
#include "platform/pondo/environment/write_transaction.h"
#include "platform/pondo/follower/batch.h"

namespace Pondo {
namespace {

using Reason = EnvironmentException::Reason;

/// What there is to try where a transaction has no room (takeRoomStep).
constexpr int roomSteps = 3;
/// Seconds until tables that cannot be used are given up.
constexpr double failingMax = 3.0;

std::optional<gid_t> groupOf(Writer::Options const& options) {
  if (options.group.empty()) return std::nullopt;
  return groupByName(options.group);
}

}  // namespace

struct Writer::Impl {
  Impl(std::filesystem::path const& path, Options given);

  Outcome put(TableId table, std::string_view key, std::string_view value);
  Outcome erase(TableId table, std::string_view key);
  void commit(bool isComplete);
  void abort();
  bool service();

  template <class Operation>
  auto attempt(Operation const& operation);
  WriteTransaction& transaction();
  bool makeRoom(int& step);
  bool takeRoomStep(int step);
  void dropLog();
  bool isLost() const;
  bool isReadable();
  void takeLock();
  std::unique_ptr<Environment> replaceTables() const;
  void adopt(std::unique_ptr<Environment> environment);
  void letGo();
  void giveUp();
  void makeAnew();
  void moveAwayFromStoppedReader();
  void ring() const;
  void watch();
  void drainNotices() const;

  // Fixed after construction.
  std::filesystem::path const runDir;
  Options const options;
  FileSettings const settings;
  Mav::Descriptor const notices;  // may be none

  // Changed by the publisher's thread.
  // The lock goes last, and the transaction before the environment: until all is closed, no other
  // publisher opens the tables.
  std::optional<PublisherLock> lock;
  std::unique_ptr<Environment> env;  // null when lost
  Format::MetaRecord meta;
  FileIdentity directory;
  FileIdentity lockFile;
  Mav::Descriptor doorbell;
  std::vector<int> watches;
  std::optional<WriteTransaction> txn;
  Batch batch;
  StoppedReaderWatch stopped;
  double copyNotBefore = 0;
  double failsSince = Mav::never;  // nothing could be written since then
  double unreadableSince = Mav::never;
  bool hasGivenUp = false;  // and told so
};

Writer::Impl::Impl(std::filesystem::path const& path, Options given)
    : runDir(plainPath(path)),
      options(std::move(given)),
      settings{options.mapSize, groupOf(options)},
      notices(openInotify(runDir)) {
  makeRunDir(runDir, settings.group);
  // The lock before anything else is touched: of two that start at once, one makes the tables.
  takeLock();
  removeLeftovers(runDir);
  makeReadersFile(runDir, settings.group);
  adopt(lock->predecessorFailed() ? replaceTables() : openOrMakeTables(runDir, settings));
  ring();  // readers learn that the publisher is back
}

// Whoever died while it opened the tables may have died of them: they are not opened a second time.
std::unique_ptr<Environment> Writer::Impl::replaceTables() const {
  if (identityAt(runDir / Format::tablesDirectory)) {
    Mav::log(Mav::Severity::warning,
             runDir.string() +
                 ": the publisher before this one died while it opened the tables; "
                 "they are made anew");
  }
  return makeEmptyTables(runDir, settings);
}

void Writer::Impl::takeLock() {
  bool const isOfKernel = options.origin == Origin::kernel;
  lock.emplace(runDir, PublisherLock::Publisher{options.publisher, options.version, isOfKernel},
               settings.group);
}

void Writer::Impl::adopt(std::unique_ptr<Environment> environment) {
  // What throws from here on leaves the old environment, where tables move, or none: neither is
  // what stands at the path, and service() makes the tables anew.
  meta = environment->meta(environment->begin(MDB_RDONLY).get());
  directory = identityAt(environment->directory()).value_or(FileIdentity{});
  lockFile = identityAt(environment->directory() / Format::lockFile).value_or(FileIdentity{});
  doorbell = openDoorbell(runDir, settings);
  env = std::move(environment);
  failsSince = unreadableSince = Mav::never;
  watch();
}

// The run directory holds files that are replaced all the time: of it only its own end is watched.
void Writer::Impl::watch() {
  // Of a directory that has gone the kernel has removed its watch: to remove it again does no harm.
  for (int const old : watches) ::inotify_rm_watch(notices.get(), old);
  auto const add = [this](std::filesystem::path const& path, std::uint32_t events) {
    return ::inotify_add_watch(notices.get(), path.c_str(), events | IN_ONLYDIR);
  };
  constexpr std::uint32_t gone = IN_DELETE_SELF | IN_MOVE_SELF;
  watches = {add(runDir, gone), add(runDir / Format::tablesDirectory,
                                    gone | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO)};
}

void Writer::Impl::drainNotices() const {
  std::array<char, 4096> buffer{};
  while (::read(notices.get(), buffer.data(), buffer.size()) > 0) {
  }
}

WriteTransaction& Writer::Impl::transaction() {
  // Until service() has made the tables anew, nothing may be written that nobody would find.
  if (!env) {
    throw EnvironmentException(runDir.string() + ": the tables are lost; they are made anew",
                               Reason::absent);
  }
  if (!txn) {
    txn.emplace(*env);
    // A transaction that is begun amid a batch makes what an earlier one lost (attempt,
    // moveAwayFromStoppedReader).
    batch.replay([this](auto table, auto key, auto value) { txn->put(table, key, value); },
                 [this](auto table, auto key) { txn->erase(table, key); });
  }
  return *txn;
}

// Where there is no room, room is made and all that was not committed is done again.
template <class Operation>
auto Writer::Impl::attempt(Operation const& operation) {
  for (int step = 0;;) {
    try {
      return operation(transaction());
    } catch (EnvironmentException const& e) {
      // To end a transaction is to write to the lock file.
      if (env) env->mend();
      txn.reset();
      auto const reason = e.reason();
      if (reason == Reason::noSpace && makeRoom(step)) continue;
      // Want of room says nothing against the tables: whether they go for it, the caller says
      // (giveUp).
      if (reason != Reason::noSpace) failsSince = std::min(failsSince, Mav::now());
      abort();
      // What the library calls broken is not used again; service() makes it anew.
      if (reason == Reason::foreign || reason == Reason::truncated) env.reset();
      throw;
    } catch (...) {
      abort();
      throw;
    }
  }
}

// From what costs nothing to what costs most. What fails in its turn is tried no further.
bool Writer::Impl::makeRoom(int& step) {
  while (step < roomSteps) {
    try {
      if (takeRoomStep(step++)) return true;
    } catch (EnvironmentException const& e) {
      if (e.reason() != Reason::noSpace) Mav::log(Mav::Severity::warning, e.what());
    }
  }
  return false;
}

bool Writer::Impl::takeRoomStep(int step) {
  if (step == 0) {
    env->freeBeyondLastPage();
    removeLeftovers(runDir);
    freeDeadSlots(env->get());  // a killed reader holds pages by its slot alone
    return true;
  }
  if (step == 1) {
    dropLog();
    return true;
  }
  // A copy helps where at most half of what is used is still live.
  auto const space = spaceOf(*env);
  if (space.used / 2 < space.live) return false;
  adopt(makeCopiedTables(runDir, settings, *env));
  return true;
}

void Writer::Impl::dropLog() {
  // The transaction of attempt() has ended: a thread has one of them at a time (lmdb.h,
  // mdb_txn_begin).
  WriteTransaction dropping(*env);
  dropping.dropLog();
  meta = dropping.commit(options.logMax, options.origin);
}

Outcome Writer::Impl::put(TableId table, std::string_view key, std::string_view value) {
  // A batch stays small: it is held in memory, and done again where room has to be made.
  if (batch.size() >= batchMax) commit(false);
  auto const outcome = attempt([&](WriteTransaction& t) { return t.put(table, key, value); });
  // Entered last: an attempt that is repeated does the batch again, and then this.
  if (outcome != Outcome::unchanged) batch.addPut(table, key, value);
  return outcome;
}

Outcome Writer::Impl::erase(TableId table, std::string_view key) {
  if (batch.size() >= batchMax) commit(false);
  auto const outcome = attempt([&](WriteTransaction& t) { return t.erase(table, key); });
  if (outcome != Outcome::unchanged) batch.addErase(table, key);
  return outcome;
}

void Writer::Impl::commit(bool isComplete) {
  // Only a commit can tell that the tables are complete, and whose state they are: one is made even
  // where no record has changed.
  bool const isKnown =
      env && meta.complete != 0 && meta.origin == static_cast<std::uint64_t>(options.origin);
  bool const commits = !batch.empty() || (isComplete && !isKnown);
  if (commits) {
    meta = attempt([&](WriteTransaction& t) {
      if (isComplete) t.completeIs();
      return t.commit(options.logMax, options.origin);
    });
  }
  lock->opened();
  // There may be one that is not committed, of puts that changed nothing: gives the write lock
  // back.
  txn.reset();
  batch.clear();
  failsSince = Mav::never;
  // Last: who looked before the commit would find nothing, and wait for the next look.
  if (commits) ring();
}

void Writer::Impl::abort() {
  txn.reset();
  batch.clear();
}

// A ring that is lost costs time, not truth: readers look by themselves every few seconds.
void Writer::Impl::ring() const {
  [[maybe_unused]] auto const written =
      ::pwrite(doorbell.get(), &meta.generation, sizeof meta.generation, 0);
}

bool Writer::Impl::isLost() const {
  auto const tables = runDir / Format::tablesDirectory;
  // Some lstat(2) on a tmpfs, once a second: cheaper than to trust that inotify tells everything.
  return !env || env->damaged() || !lock->atPath() || identityAt(tables) != directory ||
         identityAt(tables / Format::dataFile) != env->dataIdentity() ||
         identityAt(tables / Format::lockFile) != lockFile;
}

// Damage that only shows when the tables are used, to a publisher that has nothing to write.
bool Writer::Impl::isReadable() try {
  MDB_txn* raw = nullptr;
  int const code = mdb_txn_begin(env->get(), nullptr, MDB_RDONLY, &raw);
  // That all slots are taken says nothing of the tables.
  if (code == MDB_READERS_FULL) return true;
  check(code, runDir, "read");
  TxnPtr const reading(raw);
  env->meta(raw);
  return true;
} catch (EnvironmentException const&) {
  return false;
}

void Writer::Impl::letGo() {
  if (env) env->mend();
  abort();
  env.reset();
}

void Writer::Impl::giveUp() {
  letGo();
  hasGivenUp = true;
  removeTableDirectory(runDir / Format::tablesDirectory);  // its room is what the new ones need
  Mav::log(Mav::Severity::warning,
           runDir.string() + ": no room to change the tables in; they are made anew");
}

void Writer::Impl::makeAnew() {
  // First: what throws from here on leaves no environment, and put throws until the next service().
  letGo();
  makeRunDir(runDir, settings.group);
  // Another publisher may have come into the place of what was deleted: this one then ends.
  if (!lock->atPath()) takeLock();
  makeReadersFile(runDir, settings.group);
  adopt(makeEmptyTables(runDir, settings));
  if (!std::exchange(hasGivenUp, false)) {
    Mav::log(Mav::Severity::warning,
             runDir.string() + ": was deleted, replaced or damaged; the tables are made anew");
  }
  ring();
}

bool Writer::Impl::service() {
  drainNotices();
  // The path is what readers follow: an environment that is whole but not there any more is lost.
  // Mav::never is infinity: the difference is then below every limit.
  bool const isOver = Mav::now() - std::min(failsSince, unreadableSince) >= failingMax;
  if (isLost() || isOver) {
    makeAnew();
    return true;
  }
  unreadableSince = isReadable() ? Mav::never : std::min(unreadableSince, Mav::now());
  // A doorbell that is deleted alone would leave readers to their slow look.
  if (!identityAt(runDir / Format::tablesDirectory / Format::doorbellFile)) {
    doorbell = openDoorbell(runDir, settings);
  }
  makeReadersFile(runDir, settings.group);
  // Before stopped readers are looked for: a dead one would be taken for one of them.
  freeDeadSlots(env->get());
  moveAwayFromStoppedReader();
  return false;
}

void Writer::Impl::moveAwayFromStoppedReader() {
  // A copy writes all that is live: where it fails, it is not tried again at once.
  constexpr double copyPause = 60.0;
  double const now = Mav::now();
  if (!stopped.hasStopped(oldestReader(env->get()), now) || now < copyNotBefore) return;
  auto const space = spaceOf(*env);
  // A copy costs what is live: it has to be worth that.
  if (space.used < 2 * space.live + options.pinnedMax) return;
  try {
    txn.reset();  // what is in the batch is done again in the copy
    adopt(makeCopiedTables(runDir, settings, *env));
    Mav::log(Mav::Severity::warning,
             fmt::format("{}: a stopped reader pinned {} bytes; the tables moved to a new "
                         "environment; end that reader",
                         runDir.string(), space.used - space.live));
  } catch (EnvironmentException const& e) {
    copyNotBefore = now + copyPause;
    Mav::log(Mav::Severity::warning, e.what());
  }
}

Writer::Writer(std::filesystem::path runDir, Options options)
    : impl_(std::make_unique<Impl>(runDir, std::move(options))) {}

Writer::~Writer() = default;

bool Writer::putBytes(TableId table, std::string_view key, std::string_view value) {
  return impl_->put(table, key, value) != Outcome::unchanged;
}

bool Writer::eraseBytes(TableId table, std::string_view key) {
  return impl_->erase(table, key) != Outcome::unchanged;
}

void Writer::scanBytes(TableId table,
                       absl::FunctionRef<void(std::string_view, std::string_view)> visit) {
  impl_->attempt([&](WriteTransaction& txn) { txn.each(table, visit); });
}

Writer::SyncCounts Writer::syncBytes(TableId table,
                                     std::vector<std::pair<Bytes, Bytes>> const& wanted) {
  assert(std::is_sorted(wanted.begin(), wanted.end()));
  std::vector<Bytes> superfluous;
  impl_->attempt([&](WriteTransaction& txn) {
    // An attempt may be repeated. Nothing is erased during the walk: a full batch is committed,
    // which ends the transaction that is walked.
    superfluous.clear();
    auto next = wanted.begin();
    txn.each(table, [&](std::string_view key, std::string_view) {
      // Two walks in the order of keys, merged.
      while (next != wanted.end() && next->first < key) ++next;
      if (next == wanted.end() || next->first != key) superfluous.emplace_back(key);
    });
  });
  SyncCounts counts;
  counts.removed = superfluous.size();
  // Removals first: in the log an address has left one link before it comes to another.
  for (auto const& key : superfluous) impl_->erase(table, key);
  for (auto const& [key, record] : wanted) {
    switch (impl_->put(table, key, record)) {
      case Outcome::added:
        ++counts.added;
        break;
      case Outcome::changed:
        ++counts.changed;
        break;
      default:
        ++counts.unchanged;
    }
  }
  return counts;
}

void Writer::commit() { impl_->commit(false); }
void Writer::commitComplete() { impl_->commit(true); }
void Writer::abort() { impl_->abort(); }
void Writer::giveUp() { impl_->giveUp(); }
std::uint64_t Writer::generation() const { return impl_->meta.generation; }
bool Writer::service() { return impl_->service(); }
void Writer::tell(SignOfLife const& sign) {
  if (impl_->lock->tell(sign)) impl_->ring();
}
int Writer::noticeFd() const { return impl_->notices.get(); }

}  // namespace Pondo
