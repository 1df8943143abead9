#include "kelbase/ctl/generate.h"

#include <ostream>
#include <string>

#include <fmt/format.h>

#include "kelbase/ctl/generated_table.h"
#include "kelbase/ctl/progress.h"
#include "kelbase/ctl/written.h"

namespace Kelbase::Ctl {
namespace {

std::vector<Written> writeTables(Context const& context, std::filesystem::path const& runDir,
                                 GenerateOptions const& options, GeneratedTable const& table) {
  Pondo::Writer::Options writerOptions;
  writerOptions.publisher =
      fmt::format("kelbasectl generate --routes {} --seed {}", options.routes, options.seed);
  Pondo::Writer writer(runDir, writerOptions);
  Progress progress(context.err, context.errTerminal, "writing routes", table.routes().size());
  std::vector<Written> written;
  written.push_back({"links", writer.sync<Pondo::LinkTable>(table.links())});
  auto const addresses = writer.sync<Pondo::Address4Table>(table.addresses());
  written.push_back({"addresses", sum(addresses, writer.sync<Pondo::Address6Table>({}))});
  auto const fib = writeFib(writer, table.routes(), table.fecs(),
                            [&](std::uint64_t count) { progress.at(count); });
  written.push_back({"routes", fib.routes});
  written.push_back({"fecs", fib.fecs});
  writer.commitComplete();
  return written;
}

/// Pairs, so that a link runs without a neighbour: the far ends stay in the same namespace.
void printLinks(std::ostream& out, GeneratedTable const& table) {
  for (auto const& [key, record] : table.addresses()) {
    if (key.link == Dovel::IntfId("lo")) continue;
    out << fmt::format(
        "link add {0} type veth peer name {0}-far\nlink set {0}-far up\nlink set {0} up\n"
        "address add {1}/{2} dev {0}\n",
        key.link.name(), key.local.stringValue(), key.length);
  }
}

void printRoutes(Context const& context, GeneratedTable const& table) {
  Progress progress(context.err, context.errTerminal && !context.outTerminal, "printing routes",
                    table.routes().size());
  auto const fecs = table.fecs();
  std::uint64_t count = 0;
  for (auto const& [prefix, route] : table.routes()) {
    constexpr std::uint64_t reportEvery = 1'024;
    if (++count % reportEvery == 0) progress.at(count);
    auto const& via = fecs.at(route.fecId).vias.front();
    if (via.nextHop.isUnspecified()) continue;  // the address brings it
    context.out << fmt::format("route add {} via {} dev {} proto bgp metric {}\n",
                               prefix.stringValue(), via.nextHop.stringValue(), via.intfId.name(),
                               route.metric.value());
  }
}

}  // namespace

int generate(Context const& context, std::filesystem::path const& runDir,
             GenerateOptions const& options) {
  if (!options.batch) refuseWhilePublished(runDir);
  GeneratedTable const table(options.routes, options.seed);
  if (options.batch) {
    if (!options.routesOnly) printLinks(context.out, table);
    printRoutes(context, table);
    return exitOk;
  }
  printWritten(context.out, writeTables(context, runDir, options, table), options.json);
  return exitOk;
}

}  // namespace Kelbase::Ctl
