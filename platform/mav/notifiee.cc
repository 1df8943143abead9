#include "platform/mav/notifiee.h"

#include "platform/mav/memory_failure.h"
#include "platform/mav/trace_handle.h"

namespace Mav {

std::string exceptionText(std::exception_ptr const& exception) {
  try {
    // An exception_ptr tells nothing of what it holds but by throwing it.
    std::rethrow_exception(exception);
  } catch (std::exception const& e) {
    return e.what();
  } catch (...) {
    return "not a std::exception";
  }
}

void traceNotifieeException(AttributeId attribute, std::exception_ptr const& exception) {
  static TraceHandle const handle("Mav");
  MAV_TRACE(handle, 0,
            "exception in handler of attribute " << attribute << ": " << exceptionText(exception));
}

namespace {

// The trace itself may fail for want of memory.
void traceInFlight(AttributeId attribute) noexcept try {
  traceNotifieeException(attribute, std::current_exception());
} catch (...) {  // a line less
}

}  // namespace

// noexcept: a notification goes on whatever a notifiee makes of its exception.
void NotifieeBase::deliverException(NotifieeBase* notifiee, AttributeId attribute) noexcept {
  // Before the notifiee has a say: it may swallow what it gets.
  noteMemoryFailure();
  if (!notifiee) return traceInFlight(attribute);
  try {
    notifiee->onException(attribute, std::current_exception());
  } catch (...) {
    traceInFlight(attribute);
  }
}

}  // namespace Mav
