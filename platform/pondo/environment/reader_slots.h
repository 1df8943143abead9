#pragma once
// The readers of an environment, as its lock file knows them.

#include <cstddef>
#include <cstdint>
#include <optional>

#include <lmdb.h>

#include "platform/pondo/environment/lmdb_handles.h"

namespace Pondo {

/// Frees the slots of readers that died inside a snapshot; says how many.
int freeDeadSlots(MDB_env* env);

/// The oldest transaction that a reader is inside of, or nothing.
std::optional<std::uint64_t> oldestReader(MDB_env* env);

struct Space {
  std::size_t used = 0;  // up to the last page in use
  std::size_t live = 0;  // of these, what the newest transaction needs
};

/// EnvironmentException when the library refuses.
Space spaceOf(Environment const& env, TableHandles const& handles);

/// Tells a reader that has stopped for good: one that has stayed inside the same transaction.
class StoppedReaderWatch {
 public:
  static constexpr double stoppedAfter = 10.0;

  /// To be told the oldest reader about once a second; true when it has not moved for that long.
  bool hasStopped(std::optional<std::uint64_t> oldest, double now);

 private:
  std::optional<std::uint64_t> oldest_;
  double since_ = 0;
};

}  // namespace Pondo
