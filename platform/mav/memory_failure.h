#pragma once
// What to do once memory has run out amid a change. Whoever keeps state by notifications (the state
// machines, the mirrors) may have missed what failed, and nothing tells it again: the state is to
// be made anew. A request that fails leaves nothing behind, and is not meant.

#include <functional>

namespace Mav {

/// Sets what is called after each such failure, or nothing. It must neither throw nor allocate. One
/// thread.
void memoryFailureHookIs(std::function<void()> hook);

/// Calls it when the exception that is being caught is std::bad_alloc. For catch (...) alone.
/// Whoever catches what kept state from being filed calls it: NotifieeBase, the follower, the
/// registration of handlers.
void noteMemoryFailure() noexcept;

}  // namespace Mav
