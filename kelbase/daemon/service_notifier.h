#pragma once
// Tells systemd how the service does (sd_notify(3)): ready, what it holds, that the tables are
// exact, that it ends. Does nothing when not started by systemd.
//
// Nobody asks whether a message got there. One that is lost costs nothing, not even the watchdog's:
// two fit an interval.

#include <functional>
#include <string>

#include "platform/mav/activity.h"

namespace Kelbase {

class ServiceNotifier {
 public:
  /// From here on pets the watchdog, when there is one, at half its interval: as long as the tables
  /// were exact within the last interval, `exactAge` seconds ago. A publisher that hangs, or cannot
  /// write, or never comes to an end is started again.
  ServiceNotifier(Mav::Activity& activity, std::function<double()> exactAge);

  /// READY=1. The unit is of Type=notify: what is ordered behind it, snmpd among it, waits for
  /// this.
  void ready() const;
  /// STATUS= when the text has changed, at most once a second.
  void statusIs(std::string const& status);
  /// The service manager waits for the end from here on (TimeoutStopSec=).
  void stopping();

 private:
  void onWatchdog();
  void sendStatus();

  std::function<double()> const exactAge_;
  Mav::Timer watchdogTimer_;
  Mav::Timer statusTimer_;
  double watchdogInterval_ = 0.0;  // seconds; 0: none
  double const startedAt_;
  double statusAt_ = 0.0;
  std::string status_;
  std::string statusSent_;
};

}  // namespace Kelbase
