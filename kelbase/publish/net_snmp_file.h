#pragma once
// RUNDIR/net-snmp: the two "Ip:" lines of /proc/net/snmp, in the layout that the agent's reader of
// the IPv4 counters knows by the place of its columns (stats/stats_scan.h).
//
// Kernels from about 6.8 on have a column more (net/ipv4/proc.c, OutTransmits), and the reader
// refuses what it would misread. There, and only there, this keeps the file: replaced whole, four
// times a second. Elsewhere it removes one that an earlier publisher left, and nothing is ever
// woken. When the publisher ends the file stays, as the tables do.
//
// Whoever deletes the run directory is let finish: a file that has gone comes back a second later.
// A file that cannot be written is told in one line, and tried again every second. All on the
// activity's thread; never blocks.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>
#include <system_error>

#include "platform/mav/activity.h"

namespace Kelbase {

/// The first line of the known layout, newline included: 224 characters.
std::string const& ipHeader();

/// The two lines in the known layout, from the text of /proc/net/snmp: columns go by their names,
/// and one that the kernel does not have is 0. Nothing unless the text begins with a line of names
/// and one of as many numbers.
std::optional<std::string> ipLines(std::string_view text);

class NetSnmpFile {
 public:
  // Half of what the agent takes for fresh (SwFwdStats::freshness).
  static constexpr double interval = 0.25;  // seconds
  static constexpr double pause = 1.0;      // after a failure

  /// `group` as in Pondo::Writer::Options; `kernelFile` is another for tests. The run directory is
  /// there, and this publisher's.
  NetSnmpFile(Mav::Activity& activity, std::filesystem::path const& runDir,
              std::string const& group, std::filesystem::path kernelFile = "/proc/net/snmp");

 private:
  void renew();
  bool wasDeleted();
  void renewNow();
  void write(std::string_view text) const;
  void onFailure(std::system_error const& error);

  std::filesystem::path const kernelFile_;
  std::filesystem::path const file_;
  std::filesystem::path const staged_;
  std::optional<gid_t> const group_;

  Mav::Timer timer_;
  double due_ = 0;
  bool isThere_ = false;
  bool failing_ = false;
};

}  // namespace Kelbase
