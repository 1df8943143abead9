#pragma once
// The command line of kelbasectl.
//
// The one entry of the library: main() and the tests call it. It parses, chooses the command, and
// turns every exception into a line and a number.

#include <string>
#include <vector>

#include "kelbase/ctl/context.h"

namespace Kelbase::Ctl {

/// Runs one command; `arguments` without the program's name. Returns the exit code. Never throws:
/// what goes wrong is one line on context.err. An output that nobody reads any more (EPIPE) ends
/// the command without a word, with exitOk.
int run(Context const& context, std::vector<std::string> arguments);

}  // namespace Kelbase::Ctl
