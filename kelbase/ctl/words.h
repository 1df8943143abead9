#pragma once
// The words of a command line as people type them: whole, or abbreviated as long as one word alone
// begins so ("stat", "show rou"). What is meant by none or by several is told by its name.
//
// Run before the command line is parsed, on its words alone: options and what they take are left as
// they are.

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Kelbase::Ctl {

/// The one of `known` that `given` is or abbreviates. CLI::ValidationError "no such WHAT: 'GIVEN';
/// there are ...", or "'GIVEN' may be A or B".
std::string_view wordMeant(std::string_view what, std::string_view given,
                           std::span<std::string_view const> known);

/// The arguments in full: the command's name and, of `show`, the table's; "help X" as "X --help".
std::vector<std::string> inFull(std::vector<std::string> arguments,
                                std::span<std::string_view const> commands,
                                std::span<std::string_view const> tables);

}  // namespace Kelbase::Ctl
