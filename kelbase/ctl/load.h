#pragma once
// `kelbasectl load FILE...`: writes tables from `ip -json` output, so that the agent can be tried
// and measured without root and without a network. The files fill the model that kelbased fills
// from the kernel, and the same views write it: what `ip` says of a machine gives the tables that
// kelbased publishes there.
//
// Replaces exactly the tables that the files speak of; a version of IP whose forwarding nobody ever
// told does not forward. All files are read and checked before the first write. A directory whose
// state kelbased published is left alone unless `force` says otherwise: an agent serves what is
// loaded there as this router's own.

#include <filesystem>
#include <string>
#include <vector>

#include "kelbase/ctl/context.h"

namespace Kelbase::Ctl {

struct LoadOptions {
  std::vector<std::string> files;  // "-" is the standard input
  bool force = false;
  bool json = false;
};

/// LoadException, Pondo::EnvironmentException; and Pondo::PublisherRunningException while a
/// publisher keeps the run directory. Prints what changed in each table. Whatever it throws, the
/// tables are as they were, but for batches of a large load that were committed by then.
int load(Context const& context, std::filesystem::path const& runDir, LoadOptions const& options);

}  // namespace Kelbase::Ctl
