// kelbased: see kelbase/daemon/daemon.h.

#include "kelbase/daemon/daemon.h"
#include "kelbase/daemon/log_lines.h"
#include "platform/mav/descriptor.h"

/// Before the static objects of this program, which want memory as well.
[[gnu::constructor(101)]] static void endWithoutMemoryFromTheStart() {
  Kelbase::endWithoutMemory();
}

int main(int argc, char** argv) {
  Mav::openStandardDescriptors();
  auto const parsed = Kelbase::parseDaemonOptions(argc, argv, OVO_VERSION);
  return parsed.options ? Kelbase::runDaemon(*parsed.options) : parsed.exitStatus;
}
