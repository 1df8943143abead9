#pragma once
// `kelbasectl status`: is there a run directory, does a publisher keep it exact, how old is the
// state, what do the tables hold, and what has the publisher counted.
//
// `kelbasectl check` judges by the same Status. Each part is there as far as it could be read: what
// is missing leaves its field empty, and `error` says why.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelbase/ctl/context.h"
#include "kelbase/ctl/shown_table.h"
#include "platform/pondo/environment/reader_report.h"
#include "platform/pondo/environment/run_dir.h"

namespace Kelbase::Ctl {

/// What was read, not yet judged: an absent publisher and unreadable tables are in it, and raise
/// nothing.
struct Status {
  struct Table {
    std::string_view name;
    std::size_t records = 0;    // all
    std::size_t malformed = 0;  // of these, not well-formed
  };

  std::filesystem::path runDir;
  bool runDirPresent = false;
  std::string runDirNote;                         // " (absent)"; empty when all is well
  bool publisherKnown = false;                    // it could be asked whether there is one
  std::optional<Pondo::PublisherInfo> publisher;  // the present or the last one
  std::optional<std::uint64_t> generation;        // with it, the tables could be read
  Pondo::Origin origin = Pondo::Origin::nobody;   // of what the tables hold
  std::vector<Table> tables;
  std::size_t addresses4 = 0;          // those that ipAddrTable shows
  std::size_t resolvedNeighbours = 0;  // those that ipNetToMediaTable shows
  Pondo::ReaderReports readers;
  std::string error;  // why something could not be read; else empty

  /// `now`: seconds since 1970, as all times that PublisherInfo tells.
  bool kept(double now) const {
    return publisher && publisher->keeping(now) == Pondo::Keeping::exact;
  }
};

/// Reads all that can be read; never throws for what the run directory is like.
Status readStatus(std::filesystem::path const& runDir);

/// Prints it. exitOk when a publisher keeps the state exact, exitUnkept when the state is there but
/// has not been exact for Pondo::exactWithin, exitError when something could not be read (said on
/// context.err too).
int status(Context const& context, std::filesystem::path const& runDir, bool json);

/// A span of time in words, two units at most: "0.4 s", "3 min 20 s", "2 d 4 h".
std::string spanText(double seconds);

}  // namespace Kelbase::Ctl
