// kelbased: see kelbase/daemon/daemon.h.

#include "kelbase/daemon/daemon.h"

int main(int argc, char** argv) {
  auto const parsed = Kelbase::parseDaemonOptions(argc, argv, OVO_VERSION);
  return parsed.options ? Kelbase::runDaemon(*parsed.options) : parsed.exitStatus;
}
