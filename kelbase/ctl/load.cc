#include "kelbase/ctl/load.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string_view>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <system_error>

#include "kelbase/ctl/progress.h"
#include "kelbase/ctl/written.h"
#include "platform/pondo/environment/reader.h"

namespace Kelbase::Ctl {
namespace {

using SyncCounts = Pondo::Writer::SyncCounts;

constexpr std::size_t publisherNameMax = 200;

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

/// What the tables hold of what the files may not speak of; nothing where there is no table that
/// can be read: the writer then makes a new one.
struct Present {
  LoadBatch::Forwarding forwarding;
  LoadBatch::Links links;
  Pondo::Origin origin = Pondo::Origin::nobody;
  std::string unreadable;  // why; empty when they can be read, or are not there
};

Present readPresent(std::filesystem::path const& runDir) {
  Present present;
  try {
    Pondo::Reader const reader(runDir);
    auto const snapshot = reader.snapshot();
    present.origin = snapshot.origin();
    snapshot.scan<Pondo::ForwardingTable>("", Pondo::sliceMax,
                                          [&](auto const& family, auto const& record) {
                                            present.forwarding.emplace(family, record);
                                          });
    std::optional<std::string> from = "";
    while (from) {
      from = snapshot.scan<Pondo::LinkTable>(
          *from, Pondo::sliceMax,
          [&](auto const& name, auto const& record) { present.links.emplace(name, record); });
    }
  } catch (Pondo::EnvironmentException const& e) {
    present = {};
    if (e.reason() != Pondo::EnvironmentException::Reason::absent) present.unreadable = e.what();
  }
  return present;
}

void refuseKernelState(std::filesystem::path const& runDir, Present const& present) {
  constexpr std::string_view remedy = "load into another directory, or overwrite it with --force";
  if (!present.unreadable.empty()) {
    throw LoadException(fmt::format("{}; it may be kelbased's: {}", present.unreadable, remedy));
  }
  if (present.origin != Pondo::Origin::kernel) return;
  throw LoadException(fmt::format("{}: holds what kelbased published of this machine; {}",
                                  runDir.string(), remedy));
}

/// Not Writer::sync: a version that the files do not speak of stays, and does not forward where
/// nothing is known of it (else its object would answer genErr, which ends a manager's walk).
SyncCounts writeForwarding(Pondo::Writer& writer, LoadBatch::Forwarding told,
                           LoadBatch::Forwarding const& present) {
  for (auto const family : {Pondo::Family::ipv4, Pondo::Family::ipv6}) {
    if (!present.contains(family)) told.try_emplace(family);
  }
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

void writeRoutes(Context const& context, Pondo::Writer& writer, Fib const& fib,
                 std::vector<Written>& written) {
  Progress progress(context.err, context.errTerminal, "writing routes", fib.routes.size());
  auto const counts =
      writeFib(writer, fib.routes, fib.fecs, [&](std::uint64_t count) { progress.at(count); });
  written.push_back({"routes", counts.routes});
  written.push_back({"fecs", counts.fecs});
}

std::vector<Written> write(Context const& context, std::filesystem::path const& runDir,
                           LoadOptions const& given, LoadBatch& batch) {
  // Before the writer: LMDB allows one environment of a directory in a process.
  Present const present = readPresent(runDir);
  if (!given.force) refuseKernelState(runDir, present);
  std::optional<Fib> fib;
  if (batch.tellsRoutes()) fib = batch.fib(present.links);
  Pondo::Writer::Options options;
  options.publisher = publisherName(given.files);
  options.origin = Pondo::Origin::files;
  Pondo::Writer writer(runDir, options);
  std::vector<Written> written;
  if (batch.tellsLinks()) {
    written.push_back({"links", writer.sync<Pondo::LinkTable>(batch.links())});
    refreshFecs(writer, batch.links());
  }
  if (batch.tellsAddresses()) {
    auto const counts4 = writer.sync<Pondo::Address4Table>(batch.addresses4());
    auto const counts6 = writer.sync<Pondo::Address6Table>(batch.addresses6());
    written.push_back({"addresses", sum(counts4, counts6)});
  }
  if (batch.tellsNeighbours()) {
    written.push_back({"neighbours", writer.sync<Pondo::Neighbour4Table>(batch.neighbours())});
  }
  written.push_back(
      {"forwarding", writeForwarding(writer, batch.forwarding(), present.forwarding)});
  if (fib) writeRoutes(context, writer, *fib, written);
  writer.commitComplete();
  return written;
}

}  // namespace

int load(Context const& context, std::filesystem::path const& runDir, LoadOptions const& options) {
  refuseWhilePublished(runDir);
  LoadBatch batch;
  for (std::string const& file : options.files) readFile(context, file, batch);
  batch.check();
  printWritten(context.out, write(context, runDir, options, batch), options.json);
  return exitOk;
}

}  // namespace Kelbase::Ctl
