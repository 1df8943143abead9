#pragma once
// The run directory: where publisher and readers meet.
//
//   RUNDIR/publisher.lock   locked (F_OFD_SETLK) by the one publisher while it lives; its text says
//                           who it is, its mtime is the publisher's last sign of life
//   RUNDIR/tables/          data.mdb, lock.mdb (LMDB) and doorbell; replaced as a whole by rename
//
// Directories 0750, data 0640, lock and doorbell 0660, group of the SNMP daemon where allowed.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace Pondo {

/// Gives $KELBASE_RUNDIR, or /run/kelbase where that is not set.
std::filesystem::path defaultRunDir();

struct PublisherInfo {
  std::string name;  // "kelbased", "kelbasectl load routes.json"
  std::int64_t pid = 0;
  double startedAt = 0;  // seconds since the epoch
  double seenAt = 0;     // last sign of life, seconds since the epoch
  bool alive = false;    // holds the lock at this moment
};

/// Reads publisher.lock, and leaves its lock alone. Gives nothing when no publisher has ever been
/// there; raises EnvironmentException when the file cannot be read.
std::optional<PublisherInfo> publisherInfo(std::filesystem::path const& runDir);

}  // namespace Pondo
