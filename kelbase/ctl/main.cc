// kelbasectl: shows and loads the shared tables. All that it does is in the library.

#include <chrono>
#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include <unistd.h>

#include "kelbase/ctl/command.h"
#include "kelbase/ctl/fd_output.h"

namespace {

double epoch() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace

int main(int argc, char** argv) {
  // A broken pipe comes back as EPIPE, so that the tables are left in order.
  std::signal(SIGPIPE, SIG_IGN);
  std::ios_base::sync_with_stdio(false);
  Kelbase::Ctl::FdOutput out(STDOUT_FILENO);
  Kelbase::Ctl::Context const context{
      .in = std::cin,
      .out = out,
      .err = std::cerr,
      .epoch = epoch,
      .version = OVO_VERSION,
      .outTerminal = ::isatty(STDOUT_FILENO) == 1,
      .errTerminal = ::isatty(STDERR_FILENO) == 1,
  };
  return Kelbase::Ctl::run(context, {argv + 1, argv + argc});
}
