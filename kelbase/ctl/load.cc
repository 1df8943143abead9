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
};

Present readPresent(std::filesystem::path const& runDir) {
  Present present;
  try {
    Pondo::Reader const reader(runDir);
    auto const snapshot = reader.snapshot();
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

void writeRoutes(Context const& context, Pondo::Writer& writer, Fib const& fib,
                 std::vector<Written>& written) {
  Progress progress(context.err, context.errTerminal, "writing routes", fib.routes.size());
  auto const counts =
      writeFib(writer, fib.routes, fib.fecs, [&](std::uint64_t count) { progress.at(count); });
  written.push_back({"routes", counts.routes});
  written.push_back({"fecs", counts.fecs});
}

std::vector<Written> write(Context const& context, std::filesystem::path const& runDir,
                           std::vector<std::string> const& files, LoadBatch& batch) {
  // Before the writer: LMDB allows one environment of a directory in a process.
  Present const present = readPresent(runDir);
  std::optional<Fib> fib;
  if (batch.tellsRoutes()) fib = batch.fib(present.links);
  Pondo::Writer::Options options;
  options.publisher = publisherName(files);
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
  if (!batch.forwarding().empty()) {
    written.push_back(
        {"forwarding", writeForwarding(writer, batch.forwarding(), present.forwarding)});
  }
  if (fib) writeRoutes(context, writer, *fib, written);
  writer.commitComplete();
  return written;
}

}  // namespace

int load(Context const& context, std::filesystem::path const& runDir,
         std::vector<std::string> const& files, bool json) {
  refuseWhilePublished(runDir);
  LoadBatch batch;
  for (std::string const& file : files) readFile(context, file, batch);
  batch.check();
  printWritten(context.out, write(context, runDir, files, batch), json);
  return exitOk;
}

}  // namespace Kelbase::Ctl
