#pragma once
// What kelbasectl sees of the world: streams, whether they are terminals, and the time of day. The
// program gives the process's own; a test gives strings. One thread.

#include <functional>
#include <iosfwd>
#include <string>

namespace Kelbase::Ctl {

struct Context {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
  std::function<double()> epoch;  // seconds since 1970-01-01 UTC
  std::string version;
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
