#pragma once
// `kelbasectl show TABLE`: what a shared table holds at this moment.

#include <filesystem>
#include <optional>

#include "kelbase/ctl/context.h"
#include "kelbase/ctl/table_view.h"

namespace Kelbase::Ctl {

/// At most one of them, and of routes alone.
struct RouteQuestion {
  std::optional<Dovel::Prefix> within;  // the route of this prefix and more specific ones
  std::optional<Dovel::IpAddr> to;      // the route that packets to this address take
};

/// Pondo::EnvironmentException when the tables cannot be read. exitError when no route answers the
/// question.
int show(Context const& context, std::filesystem::path const& runDir, TableView const& view,
         RouteQuestion const& question, bool json);

/// Prints which tables there are.
int showTables(Context const& context, bool json);

}  // namespace Kelbase::Ctl
