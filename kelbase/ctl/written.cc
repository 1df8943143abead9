#include "kelbase/ctl/written.h"

#include <ostream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "platform/pondo/environment/run_dir.h"

namespace Kelbase::Ctl {
namespace {

using SyncCounts = Pondo::Writer::SyncCounts;

void printText(std::ostream& out, std::vector<Written> const& written) {
  for (auto const& [table, counts] : written) {
    out << fmt::format("{}: {} added, {} changed, {} removed, {} unchanged\n", table, counts.added,
                       counts.changed, counts.removed, counts.unchanged);
  }
}

void printJson(std::ostream& out, std::vector<Written> const& written) {
  nlohmann::ordered_json json;
  json["tables"] = nlohmann::ordered_json::array();
  for (auto const& [table, counts] : written) {
    json["tables"].push_back({{"name", table},
                              {"added", counts.added},
                              {"changed", counts.changed},
                              {"removed", counts.removed},
                              {"unchanged", counts.unchanged}});
  }
  out << json.dump(2) << '\n';
}

}  // namespace

void printWritten(std::ostream& out, std::vector<Written> const& written, bool json) {
  (json ? printJson : printText)(out, written);
}

SyncCounts sum(SyncCounts const& a, SyncCounts const& b) {
  return {a.added + b.added, a.changed + b.changed, a.removed + b.removed,
          a.unchanged + b.unchanged};
}

void refuseWhilePublished(std::filesystem::path const& runDir) {
  auto const publisher = Pondo::publisherInfo(runDir);
  if (!publisher || !publisher->alive) return;
  throw Pondo::PublisherRunningException(
      fmt::format("{}: {} (pid {}) publishes here and would overwrite what is loaded; stop it, or "
                  "load into another directory with --rundir",
                  runDir.string(), publisher->name, publisher->pid));
}

}  // namespace Kelbase::Ctl
