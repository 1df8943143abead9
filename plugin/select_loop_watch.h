#pragma once
// Hands an activity to snmpd's select loop: its epoll descriptor is one of the daemon's external
// descriptors while this lives, and whatever is due makes it readable. The loop then gives the
// activity one turn, which never blocks. On snmpd's thread.

#include "platform/mav/activity.h"
#include "platform/mav/exception.h"
#include "platform/snmp/callback.h"

namespace OvoSnmp {

class SelectLoopWatch {
 public:
  /// `activity` must outlive this. Mav::Exception when the daemon takes no more descriptors.
  explicit SelectLoopWatch(Mav::Activity& activity) : fd_(activity.fd()) {
    // The daemon has room for 32 of them (NUM_EXTERNAL_FDS, net-snmp/library/fd_event_manager.h).
    if (register_readfd(fd_, deliver, &activity) != FD_REGISTERED_OK) {
      throw Mav::Exception("snmpd takes no more external descriptors");
    }
  }
  // Before the activity closes it: the number may be another file's right after that.
  ~SelectLoopWatch() { unregister_readfd(fd_); }
  SelectLoopWatch(SelectLoopWatch const&) = delete;
  SelectLoopWatch& operator=(SelectLoopWatch const&) = delete;

 private:
  // One turn, however much is due: the descriptor stays readable, and the daemon answers requests
  // before it calls again.
  static void deliver(int /*fd*/, void* activity) noexcept {
    Snmp::guarded("event loop", [&] { static_cast<Mav::Activity*>(activity)->deliver(); });
  }

  int const fd_;
};

}  // namespace OvoSnmp
