#pragma once
// How RUNDIR/tables comes to be, on the publisher's side. A new environment is always built whole
// in a directory beside it and then put in place by one rename: a reader finds the old tables or
// the new ones, never half of either. Only for the holder of the publisher lock.

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>

#include <sys/types.h>

#include "platform/pondo/environment/descriptor.h"
#include "platform/pondo/environment/lmdb_handles.h"

namespace Pondo {

struct FileSettings {
  std::size_t mapSize = 0;
  std::optional<gid_t> group;
};

/// Makes the run directory where missing (0750), and gives it its group when it is this user's.
void makeRunDir(std::filesystem::path const& runDir, std::optional<gid_t> group);

/// Removes what a publisher that was killed while making tables has left.
void removeLeftovers(std::filesystem::path const& runDir);

/// Opens the tables of an earlier publisher. Where there are none, or none that can be used, makes
/// them anew, with a line in the log that says why. What belongs to somebody else is kept, under
/// another name. Throws when permissions or the like are in the way.
std::unique_ptr<Environment> openOrMakeTables(std::filesystem::path const& runDir,
                                              FileSettings const& settings);

std::unique_ptr<Environment> makeEmptyTables(std::filesystem::path const& runDir,
                                             FileSettings const& settings);

/// A compacting copy of `old` takes its place: the same instance, generation and change log.
std::unique_ptr<Environment> makeCopiedTables(std::filesystem::path const& runDir,
                                              FileSettings const& settings, Environment& old);

/// The doorbell, made where missing.
Descriptor openDoorbell(std::filesystem::path const& runDir, FileSettings const& settings);

}  // namespace Pondo
