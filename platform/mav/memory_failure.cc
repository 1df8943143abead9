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
    throw;
  } catch (std::bad_alloc const&) {
    if (hook()) hook()();
  } catch (...) {  // another failure
  }
}

}  // namespace Mav
