#include "kelbase/daemon/daemon.h"

#include <fmt/format.h>

#include "kelbase/daemon/kernel_publisher.h"
#include "kelbase/daemon/log_lines.h"
#include "kelbase/daemon/service_notifier.h"
#include "kelbase/daemon/signal_watch.h"
#include "kelbase/model/trace.h"
#include "kelbase/publish/net_snmp_file.h"

namespace Kelbase {
namespace {

class Daemon {
 public:
  explicit Daemon(DaemonOptions const& options)
      : signals_(activity_, [this](int signal) { onSignal(signal); }),
        notifier_(activity_, [this] { return publisher_.exactAge(); }),
        runDir_(options.runDir),
        publisher_(activity_,
                   {options.runDir, {.version = options.version, .group = options.group}},
                   {[this] { onPublished(); }, [this](auto const& why) { onFailed(why); },
                    [this](auto const& why) { onLost(why); }}),
        counters_(activity_, options.runDir, options.group) {
    // The run directory is taken: whoever starts after this finds it. How long the kernel's first
    // answer takes is nobody's business to wait for.
    notifier_.ready();
  }

  int run() {
    activity_.run();
    notifier_.stopping();
    return exitStatus_;
  }

 private:
  void onPublished() {
    if (!told_) {
      Mav::log(Mav::Severity::info,
               fmt::format("publishing in {}: {}", runDir_.native(), publisher_.summary()));
    }
    told_ = true;
    // With each commit: the notifier sends it once a second at most, and only where it is another.
    notifier_.statusIs(publisher_.summary());
  }

  void onFailed(std::string const& why) {
    // What it published last is no more what the kernel has.
    notifier_.statusIs("not exact: " + why);
  }

  void onLost(std::string const& why) {
    Mav::log(Mav::Severity::error, why);
    // A failure to whoever looks at the status: what the operator did not ask for ended it.
    exitStatus_ = 1;
    activity_.stop();
  }

  void onSignal(int signal) {
    // The turn ends first. What it has not committed is lost, and the next publisher finds the
    // difference.
    Mav::log(Mav::Severity::info, fmt::format("ending on signal {}; what was published in {} stays",
                                              signal, runDir_.native()));
    activity_.stop();
  }

  // Made in this order: signals are blocked before there is anything to end, and the file of
  // counters wants a run directory that is the publisher's. The notifier asks for the publisher in
  // turns alone.
  Mav::Activity activity_;
  SignalWatch signals_;
  ServiceNotifier notifier_;
  std::filesystem::path const runDir_;
  KernelPublisher publisher_;
  NetSnmpFile counters_;  // once the run directory is the publisher's
  int exitStatus_ = 0;
  bool told_ = false;
};

}  // namespace

int runDaemon(DaemonOptions const& options) try {
  // Before anything that may log.
  logToStderr();
  // Dumps, commits and single changes (trace.h); MAV_TRACE switches on the rest.
  for (int level = 1; options.verbose && level <= 2; ++level) traceHandle().enabledIs(level, true);
  Daemon daemon(options);
  return daemon.run();
  // A run directory that is not to be had, or a kernel that refuses its sockets, ends a start: the
  // line says what to do, and the service manager tries again.
} catch (std::exception const& error) {
  Mav::log(Mav::Severity::error, error.what());
  return 1;
}

}  // namespace Kelbase
