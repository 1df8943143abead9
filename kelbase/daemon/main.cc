// kelbased: see kelbase/daemon/daemon.h.

#include "kelbase/daemon/daemon.h"
#include "platform/pondo/environment/descriptor.h"

int main(int argc, char** argv) {
  Pondo::openStandardDescriptors();
  auto const parsed = Kelbase::parseDaemonOptions(argc, argv, OVO_VERSION);
  return parsed.options ? Kelbase::runDaemon(*parsed.options) : parsed.exitStatus;
}
