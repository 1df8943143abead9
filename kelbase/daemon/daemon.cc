#include "kelbase/daemon/daemon.h"

#include <vector>

#include <fmt/format.h>

#include "kelbase/daemon/log_lines.h"
#include "kelbase/daemon/service_notifier.h"
#include "kelbase/daemon/signal_watch.h"
#include "kelbase/model/kernel.h"
#include "kelbase/model/trace.h"
#include "kelbase/netlink/kernel_sources.h"
#include "kelbase/netlink/netlink_feed.h"
#include "kelbase/publish/net_snmp_file.h"
#include "kelbase/publish/publisher.h"
#include "kelbase/publish/table_views.h"

namespace Kelbase {
namespace {

/// The state of the live kernel, kept in the shared tables: the feed fills the model, the publisher
/// writes what changed in it. From the first dumps on the tables are equal to the kernel, but for
/// what it has said in the last turn. All on the activity's thread; never blocks.
class Daemon {
 public:
  explicit Daemon(DaemonOptions const& options)
      : signals_(activity_, [this](int signal) { onSignal(signal); }),
        notifier_(activity_, [this] { return publisher_.exactAge(); }),
        runDir_(options.runDir),
        sources_(makeKernelSources(kernel_)),
        views_(makeTableViews(kernel_)),
        publisher_(activity_, runDir_, {.version = options.version, .group = options.group}, views_,
                   publisherHooks()),
        // It asks the kernel at once: all that the answers fill is there by then.
        feed_(activity_, sources(), {}, [this](double delay) { publisher_.onSettled(delay); }),
        netSnmpFile_(activity_, options.runDir, options.group) {
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
  std::vector<KernelSource*> sources() {
    std::vector<KernelSource*> result;
    for (auto const& source : sources_) result.push_back(source.get());
    return result;
  }

  /// The publisher asks in turns alone: the feed, which is made after it, is there by then.
  Publisher::Hooks publisherHooks() {
    return {[this] { return feed_.settled(); },
            [this] { return feed_.exact(); },
            [this] { return counters(); },
            [this] { onPublished(); },
            [this](auto const& why) { onFailed(why); },
            [this](auto const& why) { onLost(why); }};
  }

  // The names are read by scripts (`kelbasectl status -j`) and by the agent, which serves some of
  // them.
  Pondo::Counters counters() const {
    auto const& heard = feed_.counters();
    auto const& dumps = feed_.dumpCounters();
    return {{"notifications", heard.events},
            {"overruns", heard.overruns},
            {"dumps", dumps.dumps},
            {"dumpsInterrupted", dumps.interrupted},
            {"dumpsFailed", dumps.failed},
            {"messagesRejected", heard.rejected},
            {"messagesForeign", heard.foreign},
            {"bufferBytes", heard.buffer}};
  }

  void onPublished() {
    if (!told_) {
      Mav::log(Mav::Severity::info,
               fmt::format("publishing in {}: {}", runDir_.native(), views_.summary()));
    }
    told_ = true;
    // With each commit: the notifier sends it once a second at most, and only where it is another.
    notifier_.statusIs(views_.summary());
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

  // Made in this order: signals are blocked before there is anything to end, from the model on each
  // refers to those before it, and the file of counters wants a run directory that is the
  // publisher's. The notifier asks for the publisher in turns alone.
  Mav::Activity activity_;
  SignalWatch signals_;
  ServiceNotifier notifier_;
  std::filesystem::path const runDir_;
  Kernel kernel_;
  KernelSources const sources_;
  TableViews const views_;
  Publisher publisher_;
  NetlinkFeed feed_;
  NetSnmpFile netSnmpFile_;
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
