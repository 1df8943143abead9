#pragma once
// What a command has written, table by table, as it is told.

#include <filesystem>
#include <iosfwd>
#include <string_view>
#include <vector>

#include "platform/pondo/environment/writer.h"

namespace Kelbase::Ctl {

struct Written {
  std::string_view table;
  Pondo::Writer::SyncCounts counts;
};

void printWritten(std::ostream& out, std::vector<Written> const& written, bool json);

Pondo::Writer::SyncCounts sum(Pondo::Writer::SyncCounts const& a,
                              Pondo::Writer::SyncCounts const& b);

/// Pondo::PublisherRunningException while a publisher keeps the run directory.
void refuseWhilePublished(std::filesystem::path const& runDir);

}  // namespace Kelbase::Ctl
