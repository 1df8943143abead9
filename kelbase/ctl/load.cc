#include "kelbase/ctl/load.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <map>
#include <optional>
#include <ostream>
#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>
#include <system_error>

#include "kelbase/ctl/load_batch.h"
#include "kelbase/ctl/progress.h"
#include "kelbase/publish/table_views.h"
#include "platform/pondo/environment/reader.h"
#include "platform/pondo/environment/run_dir.h"
#include "platform/pondo/environment/writer.h"

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
  // Read once, and never twice: "-" given again is an empty file, which is told.
  bool const standardInput = file == "-";
  std::string const name = standardInput ? "standard input" : file;
  std::ifstream stream;
  std::error_code noSize;
  std::uintmax_t size = 0;
  if (!standardInput) {
    // A directory can be opened, and only fails to be read.
    if (std::filesystem::is_directory(file, noSize)) failToRead(name, EISDIR);
    errno = 0;
    stream.open(file, std::ios::binary);
    if (!stream) failToRead(name, errno);
    size = std::filesystem::file_size(file, noSize);
    if (noSize) size = 0;  // a pipe
  }
  // Wiped before a message about the file is told: it goes with this function.
  Progress progress(context.err, context.errTerminal, "reading " + name, size);
  batch.read(standardInput ? context.in : stream, name,
             [&](std::uint64_t bytes) { progress.at(bytes); });
}

/// What the tables hold of what the files may not speak of; nothing where there is no table that
/// can be read: the writer then makes a new one.
struct Present {
  std::vector<ForwardingFlag> forwarding;
  std::vector<Link> links;
  Pondo::Origin origin = Pondo::Origin::nobody;
  std::string unreadable;  // why; empty when they can be read, or are not there
};

Present readPresent(std::filesystem::path const& runDir) {
  Present present;
  try {
    Pondo::Reader const reader(runDir);
    auto const snapshot = reader.snapshot();
    present.origin = snapshot.origin();
    snapshot.scan<Pondo::ForwardingTable>("", Pondo::noLimit, [&](auto family, auto record) {
      auto const version = family == Pondo::Family::ipv4 ? IpVersion::v4 : IpVersion::v6;
      present.forwarding.push_back({version, record.routing});
    });
    snapshot.scan<Pondo::LinkTable>("", Pondo::noLimit, [&](auto const& name, auto const& record) {
      present.links.push_back({.index = record.ifIndex,
                               .name = name,
                               .isUp = record.adminUp,
                               .isRunning = record.operUp});
    });
  } catch (Pondo::EnvironmentException const& e) {
    // Nothing of what was read before it failed: a part may be taken for the whole.
    present = {};
    if (e.reason() != Pondo::EnvironmentException::Reason::absent) present.unreadable = e.what();
  }
  return present;
}

void refuseKernelState(std::filesystem::path const& runDir, Present const& present) {
  constexpr std::string_view remedy = "load into another directory, or overwrite it with --force";
  // What cannot be read may be all that an agent serves from: it is not overwritten unasked.
  if (!present.unreadable.empty()) {
    throw LoadException(fmt::format("{}; it may be kelbased's: {}", present.unreadable, remedy));
  }
  if (present.origin != Pondo::Origin::kernel) return;
  throw LoadException(fmt::format("{}: holds what kelbased published of this machine; {}",
                                  runDir.string(), remedy));
}

/// What the files do not tell stays as it is; links, since what is told may hang on them.
void complete(Kernel& kernel, LoadBatch& batch, Present const& present) {
  // The files may hang addresses and routes on links that they do not tell.
  if (!batch.parts().links) {
    for (Link const& link : present.links) kernel.links.is(link);
  }
  for (ForwardingFlag const& flag : present.forwarding) {
    if (!batch.tellsForwarding(flag.version)) kernel.forwarding.is(flag);
  }
  batch.finish();
}

/// Stands as one line in the lock file and in messages.
std::string publisherName(std::vector<std::string> const& files) {
  std::string name = fmt::format("kelbasectl load {}", fmt::join(files, " "));
  if (name.size() > publisherNameMax) name = name.substr(0, publisherNameMax) + "...";
  std::ranges::replace_if(
      name, [](char c) { return c >= 0 && c < ' '; }, '?');
  return name;
}

/// Links have come with other indexes: the fecs that leave through them say so.
void refreshFecs(Pondo::Writer& writer, Links const& links) {
  // Gathered first: from inside its scan the writer must not be called.
  std::map<Pondo::Fib::FecId, Pondo::Fib::Fec> changed;
  writer.scan<Pondo::FecTable>([&](auto const& fecId, auto fec) {
    bool differs = false;
    for (auto& via : fec.vias) {
      auto const index = links.linkIndex(via.intfId);
      if (index && std::exchange(via.ifIndex, *index) != *index) differs = true;
    }
    if (differs) changed.emplace(fecId, std::move(fec));
  });
  for (auto const& [fecId, fec] : changed) writer.put<Pondo::FecTable>(fecId, fec);
}

/// As Publisher does it, but all at one go.
std::vector<Written> write(Pondo::Writer& writer, Kernel& kernel, KernelParts const& parts) {
  std::vector<Written> written;  // the two tables of addresses as one
  // Where the files tell routes too, the views write the fecs anew; this is for links alone.
  if (parts.links) refreshFecs(writer, kernel.links);
  // Behind refreshFecs(): FecView finds its sets again by the indexes of their links (adopt()).
  auto const views = makeTableViews(kernel, parts);
  views.writeAll(writer, [&](TableView const& view, SyncCounts const& counts) {
    // One that repeats a part of another (TableView::name): its counts would tell a neighbour
    // twice.
    if (view.name().empty()) return;
    if (written.empty() || written.back().table != view.name()) {
      written.push_back({view.name(), {}});
    }
    auto& sum = written.back().counts;
    sum.added += counts.added;
    sum.changed += counts.changed;
    sum.removed += counts.removed;
    sum.unchanged += counts.unchanged;
  });
  // Slices again and again: nothing else wants a turn here.
  while (views.hasMore()) views.writeChanges(writer);
  views.writeUnused(writer);
  // One commit, where it fits a batch: readers see the load whole.
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

int load(Context const& context, std::filesystem::path const& runDir, LoadOptions const& options) {
  // Early, before long files are read; what keeps two writers apart is the writer's own lock.
  refuseWhilePublished(runDir);
  Kernel kernel;
  LoadBatch batch(kernel);
  for (std::string const& file : options.files) readFile(context, file, batch);
  // Before the writer: LMDB allows one environment of a directory in a process.
  Present const present = readPresent(runDir);
  if (!options.force) refuseKernelState(runDir, present);
  complete(kernel, batch, present);
  Pondo::Writer writer(runDir,
                       {.publisher = publisherName(options.files), .origin = Pondo::Origin::files});
  auto const written = write(writer, kernel, batch.parts());
  (options.json ? printJson : printText)(context.out, written);
  return exitOk;
}

}  // namespace Kelbase::Ctl
