#include "plugin/module.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <malloc.h>

#include "platform/mav/trace_handle.h"
#include "platform/pondo/environment/run_dir.h"
#include "platform/snmp/callback.h"
#include "plugin/plugin.h"
#include "plugin/stock_objects.h"

namespace OvoSnmp {

namespace {

// The log line of start() names the number too.
constexpr unsigned retrySeconds = 5;

// Plain pointers, freed by deinit_OvoSnmp: a daemon that exits without calling it runs the static
// destructors after net-snmp has shut down, when there is nothing left to unregister from.
Plugin* plugin = nullptr;
KeepToken* keepToken = nullptr;
unsigned startAlarm = 0;  // 0: none armed
bool startFailed = false;
bool isLoaded = false;

// What net-snmp keeps for the whole daemon: another file that holds this module has variables of
// its own.
constexpr char const* mark = "OvoSnmp";

int priority(Mav::Severity severity) {
  switch (severity) {
    case Mav::Severity::error:
      return LOG_ERR;
    case Mav::Severity::notice:
      return LOG_NOTICE;
    // Traces, which someone has switched on: Debian's snmpd (-LOw) drops all below a warning.
    case Mav::Severity::info:
    case Mav::Severity::debug:
    case Mav::Severity::warning:
      return LOG_WARNING;
  }
  return LOG_ERR;
}

/// Writes a line to snmpd's own log. The sink until the module's code is unmapped.
void logSink(Mav::Severity severity, std::string_view line) {
  // The line is an argument, never a format: it may hold what a manager has sent.
  snmp_log(priority(severity), "OvoSnmp: %.*s\n", static_cast<int>(line.size()), line.data());
}

void armStart(unsigned seconds);

void startOver() {
  Mav::log(Mav::Severity::warning,
           "memory ran out while changes were taken over; everything is read again");
  // By an alarm: the plugin that start() destroys is the caller.
  armStart(0);
}

void start() {
  startAlarm = 0;  // a single alarm ends by itself
  try {
    // The old one first: what it has mounted, and its environment of the tables, a process has
    // once.
    delete std::exchange(plugin, nullptr);
    Mav::traceSinkIs(logSink);
    plugin = new Plugin(Pondo::defaultRunDir(), startOver);
    startFailed = false;
  } catch (...) {
    if (!startFailed) Snmp::logFault("cannot start, trying again every 5 s");
    startFailed = true;
    // What a half-made plugin has mounted would stand in the way of the next one.
    Mav::Directory::root().unmountAll();
    return armStart(retrySeconds);
  }
  // Outside: a plugin that stands takes in the rest in the daemon's loop.
  Snmp::guarded("start", [] { plugin->takeIn(); });
}

void onStartAlarm(unsigned /*alarm*/, void* /*data*/) noexcept {
  Snmp::guarded("start", [] { start(); });
}

void armStart(unsigned seconds) {
  // One that is armed already is not forgotten: it would ring in a module that has been unmapped.
  if (startAlarm != 0) snmp_alarm_unregister(startAlarm);
  startAlarm = snmp_alarm_register(seconds, 0, onStartAlarm, nullptr);
  if (startAlarm == 0) throw Mav::Exception("snmpd gives no alarm: nothing will be served");
}

// A daemon stores its persistent data when it has become the final process, and before it takes the
// first request: that is when to start. Where a daemon does not, or is told to load the module
// later, the alarm does it.
int onStore(int /*major*/, int /*minor*/, void* /*data*/, void* /*self*/) noexcept {
  Snmp::guarded("start", [] {
    // It stores amid requests as well, which point to registrations that the start would undo.
    if (startAlarm == 0 || snmp_get_statistic(STAT_SNMPINPKTS) != 0) return;
    snmp_alarm_unregister(startAlarm);
    start();
  });
  return SNMPERR_SUCCESS;
}

// The daemon's buffers for one request (64 KiB of a message, and its lists) lie behind our rows at
// the top of the heap. By default free(3) hands that back to the kernel as soon as it is 128 KiB,
// so that each request would take its pages anew: five brk(2) and their page faults, a third of
// the time of a GETBULK.
void keepTopOfHeap() noexcept {
  constexpr int kept = 2 << 20;  // octets
  // What an operator has set stands (mallopt(3), ENVIRONMENT; ld.so(8), GLIBC_TUNABLES).
  if (std::getenv("MALLOC_TRIM_THRESHOLD_") || std::getenv("GLIBC_TUNABLES")) return;
  mallopt(M_TRIM_THRESHOLD, kept);
}

// Two would take out each other's registrations, and leave the daemon pointers to what has gone.
bool isLoadedFromAnotherFile() {
  if (!isLoaded && se_find_slist(mark)) return true;
  // Also of a file that is named twice, which has one set of variables.
  if (!std::exchange(isLoaded, true)) se_add_pair_to_slist(mark, strdup("loaded"), 1);
  return false;
}

}  // namespace

}  // namespace OvoSnmp

void init_OvoSnmp() noexcept {
  if (OvoSnmp::isLoadedFromAnotherFile()) {
    snmp_log(LOG_ERR, "OvoSnmp: loaded from another file already: this one does nothing\n");
    return;
  }
  OvoSnmp::keepTopOfHeap();
  // Each for itself: what has no memory now must not keep the alarm from being armed.
  Snmp::guarded("init_OvoSnmp", [] { OvoSnmp::armStart(0); });
  snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_STORE_DATA, OvoSnmp::onStore,
                         nullptr);
  Snmp::guarded("init_OvoSnmp", [] {
    Mav::traceSinkIs(OvoSnmp::logSink);
    Mav::log(Mav::Severity::notice,
             std::string("version " OVO_VERSION ", reading ") + Pondo::defaultRunDir().string());
  });
  Snmp::guarded("init_OvoSnmp",
                [] { OvoSnmp::keepToken = std::make_unique<OvoSnmp::KeepToken>().release(); });
}

void deinit_OvoSnmp() noexcept {
  if (!std::exchange(OvoSnmp::isLoaded, false)) return;
  se_clear_slist(OvoSnmp::mark);
  snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_STORE_DATA, OvoSnmp::onStore,
                           nullptr, 0);
  Snmp::guarded("deinit_OvoSnmp", [] {
    if (OvoSnmp::startAlarm != 0) snmp_alarm_unregister(OvoSnmp::startAlarm);
    OvoSnmp::startAlarm = 0;
    delete std::exchange(OvoSnmp::plugin, nullptr);
    delete std::exchange(OvoSnmp::keepToken, nullptr);
    Mav::Directory::root().unmountAll();
    // Last: until here lines reach snmpd's log.
    Mav::traceSinkIs({});
  });
}
