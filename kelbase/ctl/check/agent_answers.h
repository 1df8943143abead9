#pragma once
// What the SNMP daemon answers to a manager, object by object, and why not: asked for with a
// community, through net-snmp's snmpgetnext and snmpbulkwalk. The daemon's own list of
// registrations (NET-SNMP-AGENT-MIB's nsModuleTable), where the community may see it, tells a view
// that hides from a module that is not there, and names who else has registered our objects.
//
// It asks as a manager would, with the community that it is given: views, access control and other
// modules are in the answer. It costs a process an object, and four seconds where nobody answers.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "kelbase/ctl/check/check.h"
#include "kelbase/ctl/status.h"

namespace Kelbase::Ctl {

/// outputOf(), or a test's.
using RunTool = std::function<std::optional<std::string>(std::vector<std::string> const&)>;

/// As the tools take them: -c COMMUNITY AGENT.
struct AgentAddress {
  std::string agent;
  std::string community;
  /// Whether the module has registered its objects there, where that is known of its process.
  std::optional<bool> registered = std::nullopt;
};

/// One for each object of mibs/objects.txt, unless the daemon answers nothing at all; and one for
/// other modules. `status` says which tables are empty rightly.
Findings answerFindings(AgentAddress const& address, Status const& status, RunTool const& run);

}  // namespace Kelbase::Ctl
