// kelbasectl: shows and loads the shared tables. All that it does is in the library.

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

#include "kelbase/ctl/command.h"
#include "kelbase/ctl/fd_output.h"
#include "platform/mav/descriptor.h"

namespace {

double epoch() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// A terminal that takes colours and a line drawn again.
bool isTerminal(int fd) {
  char const* const kind = std::getenv("TERM");
  return ::isatty(fd) == 1 && kind != nullptr && std::string_view(kind) != "dumb";
}

}  // namespace

int main(int argc, char** argv) {
  // Before anything is opened: a descriptor of 0 to 2 that is closed would be given to the tables,
  // and the output be written into them.
  Mav::openStandardDescriptors();
  // A broken pipe comes back as EPIPE, so that the tables are left in order.
  std::signal(SIGPIPE, SIG_IGN);
  // std::cin is read in blocks then.
  std::ios_base::sync_with_stdio(false);
  Kelbase::Ctl::FdOutput out(STDOUT_FILENO);
  Kelbase::Ctl::Context const context{
      .in = std::cin,
      .out = out,
      .err = std::cerr,
      .epoch = epoch,
      .version = OVO_VERSION,
      .outTerminal = isTerminal(STDOUT_FILENO),
      .errTerminal = isTerminal(STDERR_FILENO),
  };
  return Kelbase::Ctl::run(context, {argv + 1, argv + argc});
}
