#include "kelbase/daemon/service_notifier.h"

#include <algorithm>
#include <cstdint>

#include <fmt/format.h>
#include <systemd/sd-daemon.h>

namespace Kelbase {

ServiceNotifier::ServiceNotifier(Mav::Activity& activity, std::function<double()> exactAge)
    : exactAge_(std::move(exactAge)),
      watchdogTimer_(activity.clock(), [this] { onWatchdog(); }),
      statusTimer_(activity.clock(), [this] { sendStatus(); }),
      startedAt_(Mav::now()) {
  std::uint64_t microseconds = 0;
  // Also 0 where the watchdog is meant for another process ($WATCHDOG_PID, sd_watchdog_enabled(3)).
  if (sd_watchdog_enabled(0, &microseconds) <= 0) return;
  watchdogInterval_ = static_cast<double>(microseconds) / 1e6;
  // In the first turn: the publisher that it asks is made after it.
  watchdogTimer_.timeMinIs(Mav::asap);
}

void ServiceNotifier::onWatchdog() {
  // The watchdog hears of exact tables, not of a process that turns: the service manager restarts
  // one that gets nowhere. From its start on it has one interval for that.
  double const age = std::min(exactAge_(), Mav::now() - startedAt_);
  if (age <= watchdogInterval_) sd_notify(0, "WATCHDOG=1");
  watchdogTimer_.timeMinIs(Mav::now() + watchdogInterval_ / 2);
}

void ServiceNotifier::ready() const { sd_notify(0, "READY=1"); }

void ServiceNotifier::statusIs(std::string const& status) {
  status_ = status;
  // A time that is past means the next turn: the first text of a second goes at once, the last of
  // many a second later.
  if (status_ != statusSent_) statusTimer_.timeMinIs(statusAt_);
}

void ServiceNotifier::sendStatus() {
  statusAt_ = Mav::now() + 1.0;
  statusSent_ = status_;
  sd_notify(0, fmt::format("STATUS={}", status_).c_str());
}

void ServiceNotifier::stopping() { sd_notify(0, "STOPPING=1\nSTATUS=ending"); }

}  // namespace Kelbase
