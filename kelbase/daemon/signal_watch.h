#pragma once
// SIGTERM and SIGINT as events of the activity (signalfd(2)). To be made before any other thread:
// it blocks them in the calling one. SIGPIPE and SIGXFSZ are ignored from then on: neither a reader
// of our output that goes away nor a limit of file sizes must end the service.
//
// A process started by kelbased would inherit the mask; it starts none.

#include <functional>

#include "platform/mav/activity.h"
#include "platform/mav/descriptor.h"

namespace Kelbase {

class SignalWatch {
 public:
  /// Calls onSignal(number) from a turn of the activity. Mav::Exception when the kernel refuses.
  SignalWatch(Mav::Activity& activity, std::function<void(int)> onSignal);
  SignalWatch(SignalWatch const&) = delete;
  SignalWatch& operator=(SignalWatch const&) = delete;

 private:
  void onReadable();

  std::function<void(int)> const onSignal_;
  Mav::Descriptor fd_;
  Mav::Activity::Watch watch_;  // goes before its descriptor
};

}  // namespace Kelbase
