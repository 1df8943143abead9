#pragma once
// kelbased: the publisher as a process in the foreground, with its signals, log and service
// manager. Ends on SIGTERM or SIGINT at the end of the turn (milliseconds); what it published
// stays for the readers and for its successor.
//
// main() calls it once, with the options that it has parsed. The process must have one thread by
// then, since signals are blocked for it alone (SignalWatch).

#include <filesystem>
#include <string>

namespace Kelbase {

struct DaemonOptions {
  std::filesystem::path runDir;
  std::string group;  // empty: files keep the group they are created with
  std::string version;
  bool verbose = false;
};

/// Runs until a signal ends it (0), or until it cannot go on (1, said in one log line).
int runDaemon(DaemonOptions const& options);

}  // namespace Kelbase
