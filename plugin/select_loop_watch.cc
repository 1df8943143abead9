#include "plugin/select_loop_watch.h"

#include "platform/mav/exception.h"
#include "platform/snmp/callback.h"

namespace OvoSnmp {

namespace {

void deliver(int /*fd*/, void* activity) noexcept {
  Snmp::guarded("event loop", [&] { static_cast<Mav::Activity*>(activity)->deliver(); });
}

}  // namespace

SelectLoopWatch::SelectLoopWatch(Mav::Activity& activity) : fd_(activity.fd()) {
  if (register_readfd(fd_, deliver, &activity) != FD_REGISTERED_OK) {
    throw Mav::Exception("snmpd takes no more external descriptors");
  }
}

SelectLoopWatch::~SelectLoopWatch() { unregister_readfd(fd_); }

}  // namespace OvoSnmp
