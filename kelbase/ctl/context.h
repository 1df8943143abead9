#pragma once
// What kelbasectl sees of the world: streams, whether they are terminals, and the time of day. The
// program gives the process's own; a test gives strings. One thread.
//
// Made once, in main() or by a test, and outlives the command that it is given to. Where `out`
// cannot be written it throws std::system_error (FdOutput), which run() tells.

#include <functional>
#include <iosfwd>
#include <string>

namespace Kelbase::Ctl {

/// References: the streams outlive every command.
struct Context {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
  std::function<double()> epoch;  // seconds since 1970-01-01 UTC
  std::string version;
  // Colours go to `out`, progress to `err`: each where somebody watches.
  bool outTerminal = false;
  bool errTerminal = false;
};

/// How kelbasectl exits; scripts rely on the numbers.
enum ExitCode : int {
  exitOk = 0,
  exitError = 1,
  exitUsage = 2,
  exitUnkept = 3,  // status: the state is there, but no publisher keeps it exact
};

}  // namespace Kelbase::Ctl
