#pragma once
// The run directory: where publisher and readers meet.
//
//   RUNDIR/publisher.lock   locked (F_OFD_SETLK) by the one publisher while it lives; its text says
//                           who it is, when the tables were last exact, and its
//                           counters; rewritten with each sign of life, once a second
//   RUNDIR/tables/          data.mdb, lock.mdb (LMDB) and doorbell; replaced as a whole by rename
//   RUNDIR/net-snmp         IPv4 counters, on kernels where the agent cannot read /proc/net/snmp;
//                           replaced by rename four times a second
//
// Directories 0750, data 0640, lock and doorbell 0660, group of the SNMP daemon where allowed.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Pondo {

/// Gives $KELBASE_RUNDIR, or /run/kelbase where that is not set.
std::filesystem::path defaultRunDir();

/// Gives the path as both sides keep it: a relative one would lead elsewhere once somebody changes
/// the working directory, and one that ends in a slash is its own parent to std::filesystem.
std::filesystem::path plainPath(std::filesystem::path const& path);

/// Names and numbers, in the order in which the publisher tells them. Since its start; the agent
/// serves some of them by name, and one that is not told counts as 0.
using Counters = std::vector<std::pair<std::string, std::uint64_t>>;

/// Seconds that the tables of a publisher in good health are behind at most: it says once a second
/// whether they are exact.
inline constexpr double exactWithin = 4.0;

enum class Keeping {
  exact,     // the tables hold what the kernel says, or did within exactWithin
  starting,  // the publisher was started within exactWithin, and has not made them exact yet
  behind,    // the publisher runs, but does not make them exact
  still,     // the publisher's process exists, but stands still
  gone,      // no publisher
};

/// Seconds since the machine's start (CLOCK_BOOTTIME, clock_gettime(2)). The times in
/// publisher.lock are counted so, and a clock that somebody sets makes no publisher old, or young
/// for ever. Never a simulated time (platform/mav/time.h): that ends with the process, and the
/// file's other side is another one.
double sinceMachineStart();
/// By the machine's clock, as the times of a PublisherInfo are.
double secondsSinceEpoch();
/// The time when the machine started, by its clock as that is set now: seconds since the epoch.
double machineStart();

/// What publisher.lock says. Times are seconds since the epoch, by the clock as it was set when
/// this was read.
struct PublisherInfo {
  std::string name;     // "kelbased", "kelbasectl load routes.json"
  std::string version;  // empty: not told
  std::int64_t pid = 0;
  double startedAt = 0;
  double seenAt = 0;              // last sign of life
  std::optional<double> exactAt;  // the tables were last exact; 0: never; nothing: it does not tell
  std::string trouble;            // why they are not exact now; empty when they are
  Counters counters;
  bool opening = false;  // it has not come to use the tables yet, or died before that
  bool alive = false;    // holds the lock at this moment

  Keeping keeping(double now) const;
  /// Seconds since the state was known to be right.
  double age(double now) const;
};

/// Reads publisher.lock, and leaves its lock alone. Gives nothing when no publisher has ever been
/// there; raises EnvironmentException when the file cannot be read.
std::optional<PublisherInfo> publisherInfo(std::filesystem::path const& runDir);

}  // namespace Pondo
