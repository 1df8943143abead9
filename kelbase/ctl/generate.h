#pragma once
// `kelbasectl generate`: an internet-like table (ctl_generated_table.h), into the run directory as
// a publisher would, or as input of `ip -batch`, which makes a kernel hold the same routes.

#include <cstdint>
#include <filesystem>

#include "kelbase/ctl/context.h"

namespace Kelbase::Ctl {

struct GenerateOptions {
  std::uint64_t routes = 1'000'000;
  std::uint64_t seed = 1;
  bool batch = false;       // print input of `ip -batch` and write nothing
  bool routesOnly = false;  // with batch: of an earlier one's links
  bool json = false;
};

/// As load: replaces links, addresses, routes and next hops of the run directory.
/// Pondo::EnvironmentException; and Pondo::PublisherRunningException while a publisher keeps it.
int generate(Context const& context, std::filesystem::path const& runDir,
             GenerateOptions const& options);

}  // namespace Kelbase::Ctl
