#pragma once
// How RUNDIR/tables comes to be, on the publisher's side. A new environment is built whole in a
// directory beside it, and one rename (renameat2(2)) puts it in place: a reader finds the old
// tables or the new ones, never half of either. Only the holder of the publisher lock calls these
// functions.

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>

#include <sys/types.h>

#include "platform/mav/descriptor.h"
#include "platform/pondo/environment/lmdb_handles.h"

namespace Pondo {

struct FileSettings {
  std::size_t mapSize = 0;
  std::optional<gid_t> group;
};

/// Makes the run directory where it is missing (0750), and gives it its group when it belongs to
/// this user.
void makeRunDir(std::filesystem::path const& runDir, std::optional<gid_t> group);

/// Removes the half-built tables of a publisher that was killed, and what an earlier one moved
/// aside.
void removeLeftovers(std::filesystem::path const& runDir);

/// Opens the tables of an earlier publisher. Where there are none, or none that can be used, it
/// makes them anew, with a log line that tells why. What belongs to somebody else is kept under
/// another name. Throws when permissions or the like are in the way.
std::unique_ptr<Environment> openOrMakeTables(std::filesystem::path const& runDir,
                                              FileSettings const& settings);

std::unique_ptr<Environment> makeEmptyTables(std::filesystem::path const& runDir,
                                             FileSettings const& settings);

/// Puts a compacted copy of `old` in its place, with the same instance, generation and change log:
/// readers follow it without a comparison.
std::unique_ptr<Environment> makeCopiedTables(std::filesystem::path const& runDir,
                                              FileSettings const& settings, Environment& old);

/// Opens the doorbell, and makes it where it is missing.
Mav::Descriptor openDoorbell(std::filesystem::path const& runDir, FileSettings const& settings);

}  // namespace Pondo
