#include "kelbase/ctl/show.h"

#include <array>
#include <ostream>
#include <string>
#include <vector>

#include "kelbase/ctl/row_output.h"
#include "platform/pondo/environment/reader.h"

namespace Kelbase::Ctl {
namespace {

constexpr std::array<Column, 2> listColumns{{{"TABLE", "name"}, {"HOLDS", "holds"}}};

}  // namespace

int showTables(Context const& context, bool json) {
  std::vector<Row> rows;
  for (ShownTable const& table : shownTables()) {
    rows.push_back({std::string(table.name), std::string(table.help)});
  }
  auto const output = rowOutput(context.out, listColumns, json);
  output->write(rows);
  output->end();
  return exitOk;
}

int show(Context const& context, std::filesystem::path const& runDir, ShownTable const& table,
         RouteQuestion const& question, bool json) {
  Pondo::Reader const reader(runDir);
  auto const output = rowOutput(context.out, table.columns, json);
  // A question that no route answers is an answer too: scripts see it by the exit code.
  bool shown = false;
  std::vector<Row> rows;
  std::optional<std::string> from = "";
  while (from) {
    rows.clear();
    // A snapshot for each slice: an output that stands still (a pager) must not keep the publisher
    // from using pages again.
    from = question.isAsked() ? readRoutesAsked(reader.snapshot(), question, *from, rows)
                              : table.readSlice(reader.snapshot(), *from, rows);
    shown = shown || !rows.empty();
    output->write(rows);
  }
  output->end();
  // Told last, and on the error stream: the rows stay what a script can read.
  if (reader.malformed() > 0) {
    context.err << "kelbasectl: " << table.name << ": " << reader.malformed()
                << (reader.malformed() == 1 ? " record" : " records")
                << " not well-formed, left out\n";
  }
  if (shown || !question.isAsked()) return exitOk;
  context.err << "kelbasectl: no " << question.text() << '\n';
  return exitError;
}

}  // namespace Kelbase::Ctl
