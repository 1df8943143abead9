#pragma once
// Hands an activity to snmpd's select loop: its epoll descriptor is one of the daemon's external
// descriptors while this lives, and whatever is due makes it readable. The loop then gives the
// activity one turn, which never blocks. On snmpd's thread.

#include "platform/mav/activity.h"

namespace OvoSnmp {

class SelectLoopWatch {
 public:
  /// `activity` must outlive this. Mav::Exception when the daemon takes no more descriptors.
  explicit SelectLoopWatch(Mav::Activity& activity);
  ~SelectLoopWatch();
  SelectLoopWatch(SelectLoopWatch const&) = delete;
  SelectLoopWatch& operator=(SelectLoopWatch const&) = delete;

 private:
  int const fd_;
};

}  // namespace OvoSnmp
