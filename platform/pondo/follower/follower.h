#pragma once
// Follows the tables of a run directory and tells listeners which keys may have changed.
//
// The follower opens the environment, compares it with what the listeners have filed, then follows
// the change log, woken by the doorbell (inotify) and by a slow look every lookInterval seconds.
// Whatever happens to the run directory (absent, deleted, recreated, replaced, unreadable, wrong
// schema), it says so in one log line, keeps what the listeners have, backs off and comes back by
// itself; a reader that fell behind the log compares everything again.
//
// A comparison announces, in key order and in slices, every key of the table and every key that a
// listener has filed: what is announced has to be read again. So after onInSync() a listener is
// exact, deletions included, as of some generation not older than the comparison's start.
//
// Work is done in slices of at most sliceMax keys, in each turn of the activity as many as begin
// within turnQuantum seconds: snmpd answers requests between turns. A change that may mean much
// work (Listener::isHeavy) ends its slice. Never blocks. All on the activity's thread.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/mav/activity.h"
#include "platform/pondo/environment/reader.h"
#include "platform/pondo/environment/run_dir.h"

namespace Pondo {

struct Change {
  TableId table;
  std::string key;  // bytes; decodeKey<Table>()
  /// The record (bytes) as the snapshot has it, when the follower has met it: spares a look. Empty:
  /// look. Only a comparison tells records.
  std::string_view record = {};
};

/// Hears of changes of some tables. Must outlive its Follower.
class Listener {
 public:
  virtual ~Listener() = default;

  virtual std::span<TableId const> tables() const = 0;
  /// Whether a change in the table may mean much work, so that a slice should end with it.
  virtual bool isHeavy(TableId /*table*/) const { return false; }

  /// Keys that may have changed, each once a slice: in the order of the change log (the order in
  /// which the publisher wrote them), or by table and key during a comparison. Read what is there
  /// now from `snapshot`, which dies when the call returns. An exception is logged and the slice
  /// is tried again after a pause.
  virtual void onChanges(Snapshot const& snapshot, std::span<Change const> changes) = 0;

  /// The first key (bytes) not less than `from` that this listener holds from `table`, or nothing.
  virtual std::optional<std::string> filedKey(TableId table, std::string_view from) const = 0;

  /// A comparison has ended: this listener's tables are known. Called again after every later one.
  virtual void onInSync() = 0;
};

class Follower {
 public:
  static constexpr double lookInterval = 5.0;
  static constexpr double turnQuantum = 0.002;

  enum class State { waiting, comparing, following };

  /// Listeners are told in the order of `listeners`. Starts at the next turn of the activity.
  Follower(Mav::Activity& activity, std::filesystem::path runDir, std::vector<Listener*> listeners);
  ~Follower();
  Follower(Follower const&) = delete;
  Follower& operator=(Follower const&) = delete;

  State state() const;

  /// The tables as of this turn of the activity, for reads in place: the snapshot is taken at the
  /// first call of a turn, by the follower's own work too, and dies with the turn (earlier, when
  /// the tables are replaced). Null while there are none to show: absent, unreadable, or not filled
  /// yet. EnvironmentException when the library refuses.
  Snapshot const* snapshot() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Pondo
