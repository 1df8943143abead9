#include "tests/support/failing_allocations.h"

#include <cstdlib>
#include <new>

namespace {

unsigned untilOneFails = 0;  // 0: none does

}  // namespace

void* operator new(std::size_t size) {
  bool const fails = untilOneFails != 0 && --untilOneFails == 0;
  void* const memory = fails ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

FailingAllocation::FailingAllocation(unsigned nth) { untilOneFails = nth; }
FailingAllocation::~FailingAllocation() { untilOneFails = 0; }
bool FailingAllocation::hasFailed() const { return untilOneFails == 0; }
