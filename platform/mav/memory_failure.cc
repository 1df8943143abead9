#include "platform/mav/memory_failure.h"

#include <new>
#include <utility>

namespace Mav {

namespace {

std::function<void()>& hook() {
  static std::function<void()> theHook;
  return theHook;
}

}  // namespace

void memoryFailureHookIs(std::function<void()> newHook) { hook() = std::move(newHook); }

void noteMemoryFailure() noexcept {
  try {
    // Thrown once more, the exception in flight tells its type, which catch (...) does not.
    throw;
  } catch (std::bad_alloc const&) {
    if (hook()) hook()();
  } catch (...) {  // another failure
  }
}

}  // namespace Mav
