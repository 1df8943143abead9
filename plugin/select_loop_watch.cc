#include "plugin/select_loop_watch.h"

#include "platform/mav/exception.h"
#include "platform/snmp/callback.h"

namespace OvoSnmp {

namespace {

// One turn, however much is due: the descriptor stays readable, and the daemon answers requests
// before it calls again.
void deliver(int /*fd*/, void* activity) noexcept {
  Snmp::guarded("event loop", [&] { static_cast<Mav::Activity*>(activity)->deliver(); });
}

}  // namespace

SelectLoopWatch::SelectLoopWatch(Mav::Activity& activity) : fd_(activity.fd()) {
  // The daemon has room for 32 of them (NUM_EXTERNAL_FDS, net-snmp/library/fd_event_manager.h).
  if (register_readfd(fd_, deliver, &activity) != FD_REGISTERED_OK) {
    throw Mav::Exception("snmpd takes no more external descriptors");
  }
}

// Before the activity closes it: the number may be another file's right after that.
SelectLoopWatch::~SelectLoopWatch() { unregister_readfd(fd_); }

}  // namespace OvoSnmp
