#include "kelbase/daemon/service_notifier.h"

#include <cstdint>

#include <fmt/format.h>
#include <systemd/sd-daemon.h>

namespace Kelbase {

ServiceNotifier::ServiceNotifier(Mav::Activity& activity)
    : watchdogTimer_(activity.clock(), [this] { onWatchdog(); }),
      statusTimer_(activity.clock(), [this] { sendStatus(); }) {
  std::uint64_t microseconds = 0;
  if (sd_watchdog_enabled(0, &microseconds) <= 0) return;
  watchdogInterval_ = static_cast<double>(microseconds) / 1e6;
  onWatchdog();
}

void ServiceNotifier::onWatchdog() {
  sd_notify(0, "WATCHDOG=1");
  watchdogTimer_.timeMinIs(Mav::now() + watchdogInterval_ / 2);
}

void ServiceNotifier::ready(std::string const& status) {
  status_ = status;
  if (!ready_) {
    ready_ = true;
    sd_notify(0, "READY=1");
  }
  if (status_ != statusSent_) statusTimer_.timeMinIs(statusAt_);
}

void ServiceNotifier::sendStatus() {
  statusAt_ = Mav::now() + 1.0;
  statusSent_ = status_;
  sd_notify(0, fmt::format("STATUS={}", status_).c_str());
}

void ServiceNotifier::stopping() { sd_notify(0, "STOPPING=1\nSTATUS=ending"); }

}  // namespace Kelbase
