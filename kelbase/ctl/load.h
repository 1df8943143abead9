#pragma once
// `kelbasectl load FILE...`: writes tables from `ip -json` output, so that the agent can be tried
// and measured without root and without a network. Replaces exactly the tables that the files speak
// of. All files are read and checked before the first write.

#include <filesystem>
#include <string>
#include <vector>

#include "kelbase/ctl/context.h"
#include "kelbase/ctl/load_batch.h"
#include "platform/pondo/environment/writer.h"

namespace Kelbase::Ctl {

/// "-" is the standard input. LoadException, Pondo::EnvironmentException; and
/// Pondo::PublisherRunningException while a publisher keeps the run directory.
int load(Context const& context, std::filesystem::path const& runDir,
         std::vector<std::string> const& files, bool json);

}  // namespace Kelbase::Ctl
