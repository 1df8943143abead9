// kelbased: its command line. What is not given comes from the environment (KELBASE_RUNDIR) or from
// the machine (defaultGroup()); there is no configuration file.

#include <algorithm>
#include <vector>

#include <CLI/CLI.hpp>
#include <grp.h>
#include <unistd.h>

#include "kelbase/daemon/daemon.h"
#include "kelbase/daemon/log_lines.h"
#include "platform/mav/descriptor.h"
#include "platform/pondo/environment/run_dir.h"

namespace {

constexpr char const* snmpGroup = "Debian-snmp";

constexpr char const* description =
    R"(Publishes the interfaces, addresses, neighbours, routes and IP forwarding of this kernel, in
the network namespace it is started in, to libOvoSnmp. Stays in the foreground; SIGTERM and
SIGINT end it, and what it published stays.)";

constexpr char const* footer = R"(Examples:
  kelbased                                  publish in /run/kelbase ($KELBASE_RUNDIR)
  kelbased --rundir /tmp/kelbase --verbose  as an ordinary user, telling what it does
  ip netns exec blue kelbased --rundir /run/kelbase-blue
)";

bool isMember(gid_t group) {
  // The first call asks how many there are (getgroups(2)).
  std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, getgroups(0, nullptr))));
  int const count = getgroups(static_cast<int>(groups.size()), groups.data());
  groups.resize(static_cast<std::size_t>(std::max(0, count)));
  // The effective group may be missing among them (getgroups(2)).
  return getegid() == group || std::find(groups.begin(), groups.end(), group) != groups.end();
}

/// That of Debian's snmpd, when there is such a group and this process may give files to it (as
/// root, or as a member); empty otherwise.
std::string defaultGroup() {
  struct group const* const entry = getgrnam(snmpGroup);
  // Others may not give a file to the group (chown(2)).
  return entry && (geteuid() == 0 || isMember(entry->gr_gid)) ? snmpGroup : "";
}

}  // namespace

/// Before the static objects of this program, which want memory as well.
[[gnu::constructor(101)]] static void endWithoutMemoryFromTheStart() {
  Kelbase::endWithoutMemory();
}

int main(int argc, char** argv) {
  Mav::openStandardDescriptors();
  Kelbase::DaemonOptions options{Pondo::defaultRunDir(), defaultGroup(), OVO_VERSION};
  CLI::App app(description, "kelbased");
  app.footer(footer);
  app.set_version_flag("--version", "kelbased " OVO_VERSION);
  app.add_option("--rundir", options.runDir, "directory of the shared tables, made where missing")
      ->type_name("DIR")
      ->capture_default_str();
  app.add_option("--group", options.group, "group that may read the tables: the SNMP daemon's")
      ->type_name("GROUP")
      ->capture_default_str();
  app.add_flag("--verbose", options.verbose, "log every change");
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    // CLI11 has a number of its own for each kind of error.
    return app.exit(error) == 0 ? 0 : 2;
  }
  return Kelbase::runDaemon(options);
}
