#pragma once
// The SNMP daemons of this machine, as /proc shows them: who they run as, whether they can reach
// the run directory, and whether they have loaded the module.
//
// Nothing is asked of the processes. A field that /proc does not show to this user stays empty:
// what hangs on it alone is found `unknown`.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "kelbase/ctl/check/check.h"

namespace Kelbase::Ctl {

struct SnmpProcess {
  std::int64_t pid = 0;
  std::string name;  // snmpd, ovosnmpd
  uid_t user = 0;
  std::vector<gid_t> groups;
  std::optional<bool> loaded;  // the module; nothing: another user's process
  bool stale = false;          // what it has loaded has been replaced on disk since
};

/// Whether the process is known to be in another network namespace than this one.
bool isElsewhere(std::int64_t pid);

/// Those of this network namespace, as far as that can be seen. A process that ends meanwhile may
/// be among them with half of its fields.
std::vector<SnmpProcess> snmpProcesses();

/// The first directory or file on the way to the tables of `runDir` that the process cannot use.
std::optional<std::filesystem::path> unreachable(SnmpProcess const& process,
                                                 std::filesystem::path const& runDir);

/// Whether nothing keeps it from the tables of `runDir`: readers have to write there, too.
bool canRead(SnmpProcess const& process, std::filesystem::path const& runDir);

/// Two of each daemon: the module, and its way to the run directory.
Findings processFindings(std::vector<SnmpProcess> const& processes,
                         std::filesystem::path const& runDir);

}  // namespace Kelbase::Ctl
