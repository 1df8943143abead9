// ovosnmpd: the module in a process of its own, an AgentX subagent (RFC 2741) of whatever master
// runs on this machine. For daemons that load no modules, and for those who want them apart.
//
// The agent library finds the master (agentXSocket in ovosnmpd.conf, -x on the command line), and
// finds it again after it was restarted (agentXPingInterval). Everything else is the module's.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <sys/signalfd.h>

#include "platform/mav/descriptor.h"
#include "platform/snmp/net_snmp.h"
#include "plugin/module.h"

namespace {

constexpr char usage[] =
    "usage: ovosnmpd [-x ADDRESS]\n\n"
    "Serves the objects of libOvoSnmp as an AgentX subagent, in the foreground, until SIGTERM.\n"
    "Reads ovosnmpd.conf in the directories of snmpd.conf.\n\n"
    "  -x ADDRESS     the master's AgentX socket (unix:/var/agentx/master, tcp:localhost:705)\n"
    "  -v, --version  prints the version\n"
    "  -h, --help     prints this\n";

bool isEnding = false;

// What can be read stays unread: the loop ends with it.
void onSignal(int /*fd*/, void* /*data*/) { isEnding = true; }

/// SIGTERM and SIGINT as a descriptor of the agent's own loop. A master that ends while this side
/// writes to it is no reason to end: the write fails, and the library looks for the master again.
void watchSignals() {
  std::signal(SIGPIPE, SIG_IGN);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGINT);
  sigprocmask(SIG_BLOCK, &set, nullptr);
  register_readfd(signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC), onSignal, nullptr);
}

/// The exit code where the command line asks for no subagent, or is wrong; else -1.
int readCommandLine(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    std::string_view const argument = argv[i];
    if (argument == "-v" || argument == "--version")
      return std::puts("ovosnmpd " OVO_VERSION), EXIT_SUCCESS;
    if (argument == "-h" || argument == "--help") return std::fputs(usage, stdout), EXIT_SUCCESS;
    if (argument != "-x" || i + 1 == argc) {
      std::fprintf(stderr, "ovosnmpd: unknown argument \"%s\"\n%s", argv[i], usage);
      return 2;
    }
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET, argv[++i]);
  }
  return -1;
}

}  // namespace

int main(int argc, char** argv) {
  Mav::openStandardDescriptors();
  if (int const code = readCommandLine(argc, argv); code >= 0) return code;
  snmp_enable_stderrlog();
  // The order is the agent library's: the role before init_agent(), a module behind that, and
  // before init_snmp(), which reads the configuration.
  netsnmp_enable_subagent();
  // Nothing to be kept. (..._DONT_PERSIST_STATE would leave the configuration unread as well.)
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE, 1);
  setenv("MIBS", "", 0);  // numbers are all it speaks: reading MIB files takes half a second
  watchSignals();
  if (init_agent("ovosnmpd") != 0) return EXIT_FAILURE;
  // The entry that a daemon calls for `dlmod`: its alarm runs in the loop below.
  init_OvoSnmp();
  init_snmp("ovosnmpd");
  // It blocks until something is due; alarms and descriptors, the signals' too, wake it.
  while (!isEnding) agent_check_and_process(1);
  deinit_OvoSnmp();
  snmp_shutdown("ovosnmpd");
  return EXIT_SUCCESS;
}
