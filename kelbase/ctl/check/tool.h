#pragma once
// Another program's output. kelbasectl asks the SNMP daemon through net-snmp's tools, so that it
// needs neither their library nor its configuration.

#include <optional>
#include <string>
#include <vector>

namespace Kelbase::Ctl {

/// What the command printed on both outputs; nothing when there is no such program. The program
/// has to end by itself. MIBs are not read: they only cost time.
std::optional<std::string> outputOf(std::vector<std::string> const& command);

}  // namespace Kelbase::Ctl
