#pragma once
// Tells systemd how the service does (sd_notify(3)): ready, what it holds, that it lives, that it
// ends. Does nothing when not started by systemd.

#include <string>

#include "platform/mav/activity.h"

namespace Kelbase {

class ServiceNotifier {
 public:
  /// From here on pets the watchdog, when there is one, at half its interval: from the activity,
  /// so that a loop that hangs is noticed.
  explicit ServiceNotifier(Mav::Activity& activity);

  /// READY=1 the first time; STATUS= when the text has changed, at most once a second.
  void ready(std::string const& status);
  void stopping();

 private:
  void onWatchdog();
  void sendStatus();

  Mav::Timer watchdogTimer_;
  Mav::Timer statusTimer_;
  double watchdogInterval_ = 0.0;  // seconds; 0: none
  double statusAt_ = 0.0;
  std::string status_;
  std::string statusSent_;
  bool ready_ = false;
};

}  // namespace Kelbase
