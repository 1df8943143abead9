#pragma once
// One call of operator new that fails, in a test program that links failing_allocations.cc.

/// Has the Nth allocation from now fail with std::bad_alloc, while it lives.
class FailingAllocation {
 public:
  explicit FailingAllocation(unsigned nth);
  ~FailingAllocation();
  FailingAllocation(FailingAllocation const&) = delete;
  FailingAllocation& operator=(FailingAllocation const&) = delete;

  bool hasFailed() const;
};
