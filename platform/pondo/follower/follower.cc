#include "platform/pondo/follower/follower.h"

#include <algorithm>
#include <exception>
#include <utility>

#include <absl/container/btree_set.h>
#include <fmt/format.h>
#include <sys/epoll.h>

#include "platform/mav/memory_failure.h"
#include "platform/mav/trace_handle.h"
#include "platform/pondo/environment/path_watch.h"
#include "platform/pondo/environment/reader_report.h"
#include "platform/pondo/follower/comparison.h"

namespace Pondo {
namespace {

using Reason = EnvironmentException::Reason;

// Seconds: the first pause after a failure that passes by itself, doubled up to lookInterval; and
// that after a listener has thrown, in which nothing is announced to anybody.
constexpr double backOffMin = 0.1;
constexpr double listenerPause = 1.0;
constexpr char const* inSync = "in sync";

Mav::TraceHandle const& traceHandle() {
  static Mav::TraceHandle const handle("Pondo");
  return handle;
}

std::string nameOf(PublisherInfo const& publisher) {
  return fmt::format("{} (pid {})", publisher.name.empty() ? "unnamed" : publisher.name,
                     publisher.pid);
}

std::string failureOf(PublisherInfo const& publisher, double now) {
  switch (publisher.keeping(now)) {
    case Keeping::gone:
      return "has gone";
    case Keeping::still:
      return "stands still";
    default:
      return fmt::format("cannot keep the tables exact ({})", publisher.trouble);
  }
}

}  // namespace

struct Follower::Impl {
  Impl(Mav::Activity& activity, std::filesystem::path const& path, std::vector<Listener*> heard,
       std::string const& version);

  void onNotice();
  void onTurn();
  void look();
  void lookAtPublisher();

  Snapshot const& snapshot();
  Snapshot const* shown();
  void closeReader();

  bool turnSlices();
  bool slice(Snapshot const& snapshot, LogState const& log);
  bool tellSlice(Snapshot const& snapshot, LogState const& log);
  void startComparison(LogState const& log);
  bool compareSlice(Snapshot const& snapshot, LogState const& log);
  bool followSlice(Snapshot const& snapshot, LogState const& log);
  void announce(Snapshot const& snapshot, std::vector<Change> const& changes) const;
  void announceInSync();

  void loseEnvironment(EnvironmentException const& e);
  void sayListenerFailed(std::string_view what);
  void say(std::string situation, Mav::Severity severity, std::string const& text);

  // Fixed after construction.
  std::filesystem::path const runDir;
  std::vector<Listener*> const listeners;
  PathWatch paths;

  // Changed on the activity's thread.
  struct TurnSnapshot {
    explicit TurnSnapshot(Reader const& reader) : snapshot(reader.snapshot()) {}
    Snapshot const snapshot;
  };
  std::optional<Reader> reader;
  std::optional<TurnSnapshot> turnSnapshot;  // of the reader
  bool rangSince = false;                    // after the turn's snapshot was taken
  State state = State::waiting;
  std::optional<Comparison> comparison;
  std::uint64_t instance = 0;
  std::uint64_t position = 0;  // in the change log; all before has been announced
  std::uint64_t inSyncAt = 0;  // a comparison that has ended is exact from this position on
  bool logsTurn = false;       // comparison and change log take turns
  bool pathChanged = false;
  double nextLook = Mav::asap;
  double notBefore = 0;  // no slice earlier: a listener has thrown
  double backOff = backOffMin;
  std::string situation;  // what the log was last told
  bool warned = false;    // by a warning
  std::string listenerFault;
  bool publisherFails = false;   // gone, or its tables are not exact
  std::uint64_t resyncs = 0;     // comparisons but for the first
  std::uint64_t badRecords = 0;  // that earlier readers have skipped
  std::optional<ReaderReport> report;
  Mav::Timer turn;
  Mav::Activity::TurnEnd turnEnd;
  Mav::Activity::Watch watch;
};

Follower::Impl::Impl(Mav::Activity& activity, std::filesystem::path const& path,
                     std::vector<Listener*> heard, std::string const& version)
    : runDir(plainPath(path)),
      listeners(std::move(heard)),
      paths(runDir),
      turn(activity.clock(), [this] { onTurn(); }),
      // LMDB frees no page that a transaction still sees: none outlives its turn.
      turnEnd(activity, [this] { turnSnapshot.reset(); }) {
  if (!version.empty()) report.emplace(activity, runDir, version);
  if (paths.fd() >= 0) watch = activity.watch(paths.fd(), EPOLLIN, [this](auto) { onNotice(); });
  turn.timeMinIs(Mav::asap);
}

void Follower::Impl::onNotice() {
  auto const events = paths.take();
  pathChanged = pathChanged || events.pathChanged;
  // A ring after the turn's snapshot was taken tells of what that does not show.
  rangSince = turnSnapshot.has_value();
  if (pathChanged) {
    turn.timeMinIs(Mav::asap);
  } else if (events.rang && reader) {
    // A ring says nothing to who has no tables open: their path tells when there are some. A
    // listener that rests (notBefore) is woken no earlier.
    turn.timeMinIs(std::min(turn.timeMin(), notBefore));
  }
}

void Follower::Impl::onTurn() {
  bool more = false;
  try {
    if (pathChanged || Mav::now() >= nextLook) look();
    // A publisher whose tables are exact again rings, whether it has anything to write or not.
    if (publisherFails) lookAtPublisher();
    if (reader && Mav::now() >= notBefore) more = turnSlices();
    if (std::exchange(rangSince, false)) more = true;  // nothing of it was seen
  } catch (EnvironmentException const& e) {
    loseEnvironment(e);
  } catch (std::exception const& e) {
    pathChanged = true;  // what is watched may be half of what there is
    loseEnvironment(EnvironmentException(
        fmt::format("{}: cannot be followed: {}; it is tried again", runDir.string(), e.what())));
  }
  double next = more ? Mav::asap : nextLook;
  if (notBefore > Mav::now()) next = std::min(nextLook, notBefore);
  turn.timeMinIs(next);
}

// The environment by its path, the publisher by its lock: what no ring tells.
void Follower::Impl::look() {
  nextLook = Mav::now() + lookInterval;
  // The listeners keep what they have: the next reader's instance tells whether they have to
  // compare.
  if (reader && !reader->current()) {
    MAV_TRACE(traceHandle(), 1, runDir << ": the tables have been replaced");
    closeReader();
  }
  bool const changed = std::exchange(pathChanged, false);
  // Watched first, looked at then: what happens in between is announced.
  if (!reader || changed) paths.arm();
  if (report) report->look();
  if (!reader) {
    reader.emplace(runDir);
    backOff = backOffMin;
  }
  lookAtPublisher();
}

void Follower::Impl::closeReader() {
  // The snapshot is one of the reader's.
  turnSnapshot.reset();
  if (reader) badRecords += reader->malformed();
  reader.reset();
}

Snapshot const& Follower::Impl::snapshot() {
  if (!turnSnapshot) {
    turnEnd.ask();  // first: a snapshot that nobody ends would be read for ever
    turnSnapshot.emplace(*reader);
  }
  return turnSnapshot->snapshot;
}

Snapshot const* Follower::Impl::shown() {
  if (!reader) return nullptr;
  try {
    auto const& now = snapshot();
    return now.log().complete ? &now : nullptr;
  } catch (EnvironmentException const&) {
    turn.timeMinIs(Mav::asap);  // to meet it too, and to do what there is to do
    throw;
  }
}

void Follower::Impl::loseEnvironment(EnvironmentException const& e) {
  closeReader();
  state = State::waiting;
  double delay = lookInterval;
  // What passes by itself passes soon. All else waits for a notice of the path, or the next look.
  if (e.reason() == Reason::busy) {
    delay = std::exchange(backOff, std::min(2 * backOff, lookInterval));
  }
  nextLook = Mav::now() + delay;
  // A change log with a gap is damage that only a comparison gets over.
  if (e.reason() == Reason::foreign) instance = 0;
  // Of one reason only the first line is told, however the texts differ from look to look.
  bool const alike = e.reason() != Reason::other;
  say(alike ? std::to_string(static_cast<int>(e.reason())) : e.what(), Mav::Severity::warning,
      e.what());
}

void Follower::Impl::lookAtPublisher() {
  std::optional<PublisherInfo> publisher;
  try {
    publisher = publisherInfo(runDir);
  } catch (EnvironmentException const& e) {
    MAV_TRACE(traceHandle(), 1, e.what());  // the tables may well be readable
  }
  // Told when it turns. A run directory in which no publisher has ever been is no news, nor is
  // one that was started a moment ago.
  double const now = secondsSinceEpoch();
  // One that has taken the lock and told nothing yet may find the file system full: its first exact
  // tables ring.
  bool const hasTold = publisher && (publisher->exactAt || !publisher->alive);
  auto const keeping = hasTold ? publisher->keeping(now) : Keeping::starting;
  bool const fails = keeping != Keeping::exact;
  if (keeping == Keeping::starting || fails == publisherFails) return;
  publisherFails = fails;
  if (publisherFails) {
    Mav::log(Mav::Severity::warning,
             fmt::format("{}: publisher {} {}; serving the last known state, {:.0f} s old",
                         runDir.string(), nameOf(*publisher), failureOf(*publisher, now),
                         publisher->age(now)));
  } else {
    // As loud as the line before it: whoever read that one is to read this one.
    Mav::log(Mav::Severity::warning,
             fmt::format("{}: publisher {} is back", runDir.string(), nameOf(*publisher)));
  }
}

bool Follower::Impl::turnSlices() {
  double const deadline = Mav::now() + turnQuantum;
  auto const& now = snapshot();
  // All slices of a turn are of one generation: the log does not move under them.
  auto const log = now.log();
  if (!log.complete) {
    say("incomplete", Mav::Severity::notice,
        runDir.string() + ": new tables; waiting until the publisher has filled them");
    state = State::waiting;
    return false;  // its commits ring
  }
  bool more = true;
  while (more && notBefore <= Mav::now()) {
    more = slice(now, log);
    // After a slice, not before: each turn gets on, however late it comes.
    if (Mav::now() >= deadline) break;
  }
  if (report) report->stateIs(now.generation(), resyncs, badRecords + reader->malformed());
  return more;
}

bool Follower::Impl::slice(Snapshot const& snapshot, LogState const& log) {
  // The log has been trimmed past this reader, or the tables have another history. A position
  // behind the log's end is of tables that went back to an earlier state.
  bool const behind = log.instance != instance || position < log.first || position > log.next;
  if (behind) startComparison(log);
  // Tables that were away and are the same still: the log alone makes the reader exact again.
  if (!behind && !comparison && state == State::waiting) inSyncAt = log.next;
  if (state == State::waiting) state = State::comparing;
  try {
    return tellSlice(snapshot, log);
  } catch (EnvironmentException const&) {
    throw;
  } catch (std::exception const& e) {
    // To take the slice again mends what the listener holds; what its own notifiees have missed it
    // tells nobody again.
    Mav::noteMemoryFailure();
    sayListenerFailed(e.what());
  } catch (...) {
    sayListenerFailed("unknown exception");
  }
  notBefore = Mav::now() + listenerPause;
  return true;
}

bool Follower::Impl::tellSlice(Snapshot const& snapshot, LogState const& log) {
  // Log and comparison take turns: a busy log is not trimmed away under a long comparison. A log
  // that has nothing gives its turn away.
  logsTurn = !comparison || (!logsTurn && position != log.next);
  bool const more = logsTurn ? followSlice(snapshot, log) : compareSlice(snapshot, log);
  if (state == State::comparing && !comparison && position >= inSyncAt) announceInSync();
  listenerFault.clear();
  return more || state == State::comparing;
}

void Follower::Impl::startComparison(LogState const& log) {
  MAV_TRACE(traceHandle(), 1, runDir << ": comparing everything, change log at " << log.next);
  // First what may fail: once the position says that all before it is known, a walk has to know it.
  comparison.emplace(listeners);
  if (instance != 0) ++resyncs;
  instance = log.instance;
  // What is committed behind the walk from now on stands in the log, and is announced from there.
  position = log.next;
  state = State::comparing;
}

bool Follower::Impl::compareSlice(Snapshot const& snapshot, LogState const& log) {
  std::vector<Change> changes;
  changes.reserve(sliceMax);
  // A copy goes on: where a listener throws, the walk stands where it stood.
  Comparison after = *comparison;
  after.take(snapshot, sliceMax, changes);
  announce(snapshot, changes);
  comparison = std::move(after);  // not before all listeners have taken the slice
  if (comparison->ended()) {
    comparison.reset();
    // What was committed behind the walk stands in the log, up to here. A listener is exact once it
    // has that too.
    inSyncAt = log.next;
  }
  return position != log.next;
}

bool Follower::Impl::followSlice(Snapshot const& snapshot, LogState const& log) {
  if (position == log.next) return false;
  std::vector<Change> changes;
  absl::btree_set<std::pair<TableId, std::string_view>> seen;
  changes.reserve(sliceMax);
  // A key that changed often within a slice is announced once: what is read is the state now.
  auto const next = snapshot.scanLog(position, sliceMax, [&](TableId table, std::string_view key) {
    if (!seen.emplace(table, key).second) return true;
    changes.push_back({table, std::string(key)});
    return std::none_of(listeners.begin(), listeners.end(),
                        [table](auto const* listener) { return listener->isHeavy(table); });
  });
  announce(snapshot, changes);
  position = next;  // last: of a listener that throws the same entries are asked again
  return position != log.next;
}

void Follower::Impl::announce(Snapshot const& snapshot, std::vector<Change> const& changes) const {
  for (auto* const listener : listeners) {
    auto const isHeard = [&](Change const& change) { return hears(*listener, change.table); };
    // A slice of one table, as when a million routes come, is handed on without a copy.
    if (std::all_of(changes.begin(), changes.end(), isHeard)) {
      if (!changes.empty()) listener->onChanges(snapshot, changes);
      continue;
    }
    std::vector<Change> heard;
    std::copy_if(changes.begin(), changes.end(), std::back_inserter(heard), isHeard);
    if (!heard.empty()) listener->onChanges(snapshot, heard);
  }
}

void Follower::Impl::announceInSync() {
  // The state last: a listener that throws here is told again.
  for (auto* const listener : listeners) listener->onInSync();
  state = State::following;
  say(inSync, Mav::Severity::notice, runDir.string() + ": in sync with the publisher's tables");
}

void Follower::Impl::sayListenerFailed(std::string_view what) {
  if (listenerFault == what) return;
  listenerFault = what;
  Mav::log(Mav::Severity::error,
           fmt::format("{}: a change could not be taken over: {}; it is tried again",
                       runDir.string(), what));
}

// One line for a change of the situation, none for a repetition.
void Follower::Impl::say(std::string now, Mav::Severity severity, std::string const& text) {
  if (situation == now) return;
  situation = std::move(now);
  // Whoever was warned hears of the end, in a log that takes warnings alone.
  Mav::log(warned ? Mav::Severity::warning : severity, text);
  warned = severity == Mav::Severity::warning || (warned && situation != inSync);
}

Follower::Follower(Mav::Activity& activity, std::filesystem::path runDir,
                   std::vector<Listener*> listeners, std::string const& version)
    : impl_(std::make_unique<Impl>(activity, runDir, std::move(listeners), version)) {}

Follower::~Follower() = default;

Follower::State Follower::state() const { return impl_->state; }

Snapshot const* Follower::snapshot() const { return impl_->shown(); }

}  // namespace Pondo
