#include "kelbase/ctl_load.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <optional>
#include <ostream>
#include <string_view>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>
#include <system_error>

#include "kelbase/ctl_progress.h"
#include "platform/pondo/reader.h"
#include "platform/pondo/run_dir.h"

namespace Kelbase::Ctl {
namespace {

using SyncCounts = Pondo::Writer::SyncCounts;

constexpr std::size_t publisherNameMax = 200;

struct Written {
  std::string_view table;
  SyncCounts counts;
};

void refuseWhilePublished(std::filesystem::path const& runDir) {
  auto const publisher = Pondo::publisherInfo(runDir);
  if (!publisher || !publisher->alive) return;
  throw Pondo::PublisherRunningException(
      fmt::format("{}: {} (pid {}) publishes here and would overwrite what is loaded; stop it, or "
                  "load into another directory with --rundir",
                  runDir.string(), publisher->name, publisher->pid));
}

[[noreturn]] void failToRead(std::string const& file, int error) {
  throw LoadException(
      fmt::format("{}: cannot be read: {}", file, std::generic_category().message(error)));
}

void readFile(Context const& context, std::string const& file, LoadBatch& batch) {
  bool const standardInput = file == "-";
  std::string const name = standardInput ? "standard input" : file;
  std::ifstream stream;
  std::error_code noSize;
  std::uintmax_t size = 0;
  if (!standardInput) {
    if (std::filesystem::is_directory(file, noSize)) failToRead(name, EISDIR);
    errno = 0;
    stream.open(file, std::ios::binary);
    if (!stream) failToRead(name, errno);
    size = std::filesystem::file_size(file, noSize);
    if (noSize) size = 0;  // a pipe
  }
  Progress progress(context.err, context.errTerminal, "reading " + name, size);
  batch.read(standardInput ? context.in : stream, name,
             [&](std::uint64_t bytes) { progress.at(bytes); });
}

/// What the table holds, to tell an added record from a changed one; nothing where there is no
/// table that can be read: the writer then makes a new one.
LoadBatch::Forwarding presentForwarding(std::filesystem::path const& runDir) {
  LoadBatch::Forwarding present;
  try {
    Pondo::Reader const reader(runDir);
    reader.snapshot().scan<Pondo::ForwardingTable>(
        "", Pondo::sliceMax,
        [&](auto const& family, auto const& record) { present.emplace(family, record); });
  } catch (Pondo::EnvironmentException const&) {
    return {};
  }
  return present;
}

/// Not Writer::sync: a version that the files do not speak of stays.
SyncCounts writeForwarding(Pondo::Writer& writer, LoadBatch::Forwarding const& told,
                           LoadBatch::Forwarding const& present) {
  SyncCounts counts;
  for (auto const& [family, record] : told) {
    bool const written = writer.put<Pondo::ForwardingTable>(family, record);
    ++(!written ? counts.unchanged : present.contains(family) ? counts.changed : counts.added);
  }
  return counts;
}

/// Stands as one line in the lock file and in messages.
std::string publisherName(std::vector<std::string> const& files) {
  std::string name = fmt::format("kelbasectl load {}", fmt::join(files, " "));
  if (name.size() > publisherNameMax) name = name.substr(0, publisherNameMax) + "...";
  std::ranges::replace_if(
      name, [](char c) { return c >= 0 && c < ' '; }, '?');
  return name;
}

SyncCounts sum(SyncCounts const& a, SyncCounts const& b) {
  return {a.added + b.added, a.changed + b.changed, a.removed + b.removed,
          a.unchanged + b.unchanged};
}

std::vector<Written> write(std::filesystem::path const& runDir,
                           std::vector<std::string> const& files, LoadBatch const& batch) {
  // Before the writer: LMDB allows one environment of a directory in a process.
  auto const present = presentForwarding(runDir);
  Pondo::Writer::Options options;
  options.publisher = publisherName(files);
  Pondo::Writer writer(runDir, options);
  std::vector<Written> written;
  if (batch.tellsLinks()) {
    written.push_back({"links", writer.sync<Pondo::LinkTable>(batch.links())});
  }
  if (batch.tellsAddresses()) {
    auto const counts4 = writer.sync<Pondo::Address4Table>(batch.addresses4());
    auto const counts6 = writer.sync<Pondo::Address6Table>(batch.addresses6());
    written.push_back({"addresses", sum(counts4, counts6)});
  }
  if (!batch.forwarding().empty()) {
    written.push_back({"forwarding", writeForwarding(writer, batch.forwarding(), present)});
  }
  writer.commitComplete();
  return written;
}

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

int load(Context const& context, std::filesystem::path const& runDir,
         std::vector<std::string> const& files, bool json) {
  refuseWhilePublished(runDir);
  LoadBatch batch;
  for (std::string const& file : files) readFile(context, file, batch);
  batch.check();
  auto const written = write(runDir, files, batch);
  (json ? printJson : printText)(context.out, written);
  return exitOk;
}

}  // namespace Kelbase::Ctl
