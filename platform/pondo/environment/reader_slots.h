#pragma once
// The readers of an environment, as its lock file knows them. A reader has a slot there, with its
// process id and the transaction that it reads. Pages that changed since that transaction cannot be
// used again, so a reader that died or stopped inside one would in time fill the map. The publisher
// looks once a second, by the functions below.

#include <cstddef>
#include <cstdint>
#include <optional>

#include <lmdb.h>

#include "platform/pondo/environment/lmdb_handles.h"

namespace Pondo {

/// Frees the slots of readers that died inside a snapshot, and tells how many. Before
/// oldestReader(): a dead reader would look like one that has stopped.
int freeDeadSlots(MDB_env* env);

/// Gives the oldest transaction that a reader is inside of, or nothing.
std::optional<std::uint64_t> oldestReader(MDB_env* env);

/// What the environment takes of its map, in bytes.
struct Space {
  std::size_t used = 0;  // up to the last page in use
  std::size_t live = 0;  // of these, what the newest transaction needs
};

/// Measures the environment. EnvironmentException when LMDB refuses. It reads the statistics that
/// LMDB keeps of each table, and walks none of them.
Space spaceOf(Environment const& env);

/// Knows a reader that has stopped: the oldest transaction stays the same for stoppedAfter seconds.
/// Also that of a reader who merely has nothing to do stays so: but such a one is outside of a
/// snapshot, and oldestReader() leaves it out.
class StoppedReaderWatch {
 public:
  static constexpr double stoppedAfter = 10.0;

  /// Takes the oldest reader's transaction, about once a second; true when it has not moved for so
  /// long.
  bool hasStopped(std::optional<std::uint64_t> oldest, double now);

 private:
  std::optional<std::uint64_t> oldest_;
  double since_ = 0;
};

}  // namespace Pondo
