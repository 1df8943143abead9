#pragma once
// Follows the tables of a run directory and tells listeners which keys may have changed.
//
// The follower opens the environment, compares it with what the listeners have filed, and follows
// the change log from then on. The doorbell (inotify) wakes it, and so does a look every
// lookInterval seconds, which finds what no notification tells.
//
//   waiting ──► comparing ──► following ──► comparing    it fell behind the log, or the instance is
//      ▲            │             │                      another one: everything is compared again
//      └────────────┴─────────────┘                      the environment was lost
//
// Whatever happens to the run directory (absent, deleted, made again, replaced, unreadable, another
// schema), the follower tells it in one log line, leaves the listeners what they have, and comes
// back by itself.
//
// A comparison announces every key of the tables and every key that a listener has filed, in key
// order and in slices: whatever is announced is read again. So after onInSync() a listener is
// exact, with what has gone taken away, as of a generation not older than the comparison's start.
//
// Work goes in slices of at most sliceMax keys. A turn of the activity takes as many as begin
// within turnQuantum seconds, and snmpd answers requests between turns. A change that may mean much
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
  std::string key;  // bytes; Table::decodeKey()
  /// The record (bytes) as the snapshot has it, which spares the listener a look. Empty when the
  /// follower has not met it: only a comparison meets records.
  std::string_view record = {};
};

/// Hears of changes of some tables. A listener must outlive its Follower.
class Listener {
 public:
  virtual ~Listener() = default;

  virtual std::span<TableId const> tables() const = 0;
  /// True when a change in the table may mean much work, so that a slice ends with it.
  virtual bool isHeavy(TableId /*table*/) const { return false; }

  /// Takes keys that may have changed, each once a slice. They come in the order in which the
  /// publisher wrote them, or by table and key during a comparison. The listener reads what is
  /// there now from `snapshot`, which ends when the call returns. An exception is logged, and the
  /// same slice comes again after a pause: to take it twice must come to the same as once.
  virtual void onChanges(Snapshot const& snapshot, std::span<Change const> changes) = 0;

  /// Gives the first key (bytes) not less than `from` that this listener has filed of `table`, or
  /// nothing.
  virtual std::optional<std::string> filedKey(TableId table, std::string_view from) const = 0;

  /// Hears that a comparison has ended: this listener's tables are known. Called after every one.
  virtual void onInSync() = 0;
};

class Follower {
 public:
  static constexpr double lookInterval = 5.0;
  static constexpr double turnQuantum = 0.002;

  enum class State { waiting, comparing, following };

  /// Starts at the next turn of the activity. Listeners hear of a slice in the order of
  /// `listeners`. With a version, that of the program or module, it tells the operator of itself
  /// (reader_report.h).
  Follower(Mav::Activity& activity, std::filesystem::path runDir, std::vector<Listener*> listeners,
           std::string const& version = {});
  ~Follower();
  Follower(Follower const&) = delete;
  Follower& operator=(Follower const&) = delete;

  State state() const;

  /// Gives the tables as of this turn of the activity, for reads in place. The snapshot is taken at
  /// the first call of a turn, which may be the follower's own, and ends with the turn, or earlier
  /// when the tables are replaced. Null while there are none to show: absent, unreadable, or not
  /// complete yet. EnvironmentException when LMDB refuses.
  Snapshot const* snapshot() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Pondo
