#pragma once
// `kelbasectl show TABLE`: what a shared table holds at this moment. Each slice is of one moment; a
// table that changes while it is printed may show a row as it was beside one as it is.

#include <filesystem>

#include "kelbase/ctl/context.h"
#include "kelbase/ctl/shown_routes.h"

namespace Kelbase::Ctl {

/// Pondo::EnvironmentException when the tables cannot be read. exitError when no route answers the
/// question.
int show(Context const& context, std::filesystem::path const& runDir, ShownTable const& table,
         RouteQuestion const& question, bool json);

/// Prints which tables there are.
int showTables(Context const& context, bool json);

}  // namespace Kelbase::Ctl
