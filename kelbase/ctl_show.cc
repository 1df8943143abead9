#include "kelbase/ctl_show.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "kelbase/ctl_row_output.h"
#include "platform/pondo/reader.h"

namespace Kelbase::Ctl {

int show(Context const& context, std::filesystem::path const& runDir, TableView const& view,
         bool json) {
  Pondo::Reader const reader(runDir);
  auto const output =
      json ? jsonOutput(context.out, view.columns) : textOutput(context.out, view.columns);
  std::vector<Row> rows;
  std::optional<std::string> from = "";
  while (from) {
    rows.clear();
    from = view.readSlice(reader.snapshot(), *from, rows);
    output->write(rows);
  }
  output->end();
  if (reader.rejected() > 0) {
    context.err << "kelbasectl: " << view.name << ": " << reader.rejected()
                << (reader.rejected() == 1 ? " record" : " records")
                << " not well-formed, left out\n";
  }
  return exitOk;
}

}  // namespace Kelbase::Ctl
