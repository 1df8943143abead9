#pragma once
// One call of operator new that fails, in a test program that links disturbed.cc.

#include <atomic>
#include <cstdint>

/// 0: none fails.
std::atomic<std::uint32_t>& callsUntilFailure();

/// Has the Nth allocation from now fail with std::bad_alloc, while it lives.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::uint32_t nth) { callsUntilFailure() = nth; }
  ~FailingAllocation() { callsUntilFailure() = 0; }
  FailingAllocation(FailingAllocation const&) = delete;
  FailingAllocation& operator=(FailingAllocation const&) = delete;

  bool hasFailed() const { return callsUntilFailure() == 0; }
};
