#pragma once
// The command line of kelbased. Read once, before anything else is made; a word that is wrong ends
// the program with exit code 2.
//
// What is not given comes from the environment (KELBASE_RUNDIR) or from the machine
// (defaultGroup()); there is no configuration file.

#include <filesystem>
#include <optional>
#include <string>

namespace Kelbase {

struct DaemonOptions {
  std::filesystem::path runDir;
  std::string group;  // empty: files keep the group they are created with
  std::string version;
  bool verbose = false;
};

/// Either options to run with, or the exit status of a command line that ends here (--help,
/// --version, usage errors: 2), its text already written.
struct ParsedOptions {
  std::optional<DaemonOptions> options;
  int exitStatus = 0;
};

/// Writes to stdout and stderr what ends here. `version` is what --version tells.
ParsedOptions parseDaemonOptions(int argc, char const* const* argv, std::string const& version);

/// "Debian-snmp", which Debian's snmpd runs as, when there is such a group and this process may
/// give files to it (as root, or as a member); empty otherwise.
std::string defaultGroup();

}  // namespace Kelbase
