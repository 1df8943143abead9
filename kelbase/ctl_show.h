#pragma once
// `kelbasectl show TABLE`: what a shared table holds at this moment.

#include <filesystem>

#include "kelbase/ctl_context.h"
#include "kelbase/ctl_table_view.h"

namespace Kelbase::Ctl {

/// Pondo::EnvironmentException when the tables cannot be read.
int show(Context const& context, std::filesystem::path const& runDir, TableView const& view,
         bool json);

}  // namespace Kelbase::Ctl
