#pragma once
// The module at work inside snmpd: everything that exists only in the final process, after the
// daemon has forked and dropped its privileges. Follows the shared tables on snmpd's one thread,
// keeps the caches, and has the handler units register once there is state to serve.

#include <filesystem>
#include <functional>

#include "model/health.h"
#include "platform/mav/activity.h"
#include "platform/mav/directory.h"
#include "platform/pondo/fib/shared_fib.h"
#include "platform/pondo/follower/follower.h"
#include "platform/snmp/framework.h"
#include "platform/state/mirrors/mirrors.h"
#include "plugin/caches.h"
#include "plugin/select_loop_watch.h"
#include "plugin/stock_objects.h"

namespace OvoSnmp {

class Plugin : private State::MountObserver {
 public:
  /// Once the tables have been compared, the handlers wait for the routes to be filed, so that
  /// nobody counts the rows of half a table; but no longer than this, should routes never rest.
  static constexpr double filingMax = 5.0;  // seconds
  static constexpr double filingCheck = 0.01;
  /// For so long may a daemon that starts answer nobody, so that it answers all with what is known.
  static constexpr double takeInMax = 2.0;  // seconds
  /// After memory has run out amid a change, all is made anew: once it has not for so long.
  static constexpr double calm = 5.0;  // seconds

  /// `startOver` is called, outside of any request, when this one is to be replaced by another.
  /// Mav::Exception when the kernel or the daemon refuses a descriptor.
  Plugin(std::filesystem::path const& runDir, std::function<void()> startOver);
  /// Undoes every registration, then lets go of everything.
  ~Plugin() override;
  Plugin(Plugin const&) = delete;
  Plugin& operator=(Plugin const&) = delete;

  /// Takes in what is published, and serves it, before it returns: a request that comes earlier
  /// would be answered by the daemon's own modules. Does not wait for a publisher, and no longer
  /// than takeInMax: what is left comes in turns of the daemon's loop.
  void takeIn();

 private:
  // Of State::MountObserver. Registrations hold plain pointers to mounted entities: they go before
  // a mount does, and come again behind it.
  void mountsWillChange() noexcept override;
  void mountsHaveChanged() override;
  void stateIsKnown() override;
  /// Registers, or looks again a little later while routes are being filed.
  void serveOnceFiled();

  // Destroyed from the last to the first: the follower before its listener, the registrations
  // before the entities that they point to.
  Mav::Activity activity_;
  State::Mirrors mirrors_;
  Pondo::Fib::SharedFib fib_;
  Caches caches_;
  Mav::Ptr<IpSnmp::Health> const health_;
  Snmp::Framework framework_{stockObjectsToDisplace()};
  // From then on for good: what is known is served, whatever becomes of the publisher.
  bool stateKnown_ = false;
  double filedBy_ = Mav::never;
  // Armed between the first full comparison and the registration; and startOver_ after memory ran
  // out.
  Mav::Timer filing_;
  Mav::Timer startOver_;
  Pondo::Follower follower_;
  SelectLoopWatch loopWatch_;
};

}  // namespace OvoSnmp
