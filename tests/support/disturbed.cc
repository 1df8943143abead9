// operator new fails now and then, and the clock is set: in a program that links this, or by
// LD_PRELOAD. Then the file $DISTURBED holds what the test wants, read at each call. Only C++ code
// calls operator new; in snmpd that is the module.

#include <cstdlib>
#include <ctime>
#include <new>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>

#include "tests/support/failing_allocations.h"

namespace {

struct Wanted {
  std::atomic<std::uint32_t> oneOf;   // one call of so many fails, at random; 0: none
  std::atomic<std::uint32_t> calls;   // until one fails; 0: none
  std::atomic<std::int64_t> seconds;  // what is added to CLOCK_REALTIME
};

Wanted& mapped() {
  static Wanted own{};
  char const* const file = std::getenv("DISTURBED");
  int const fd = file ? open(file, O_RDWR | O_CLOEXEC) : -1;
  if (fd < 0) return own;
  void* const at = mmap(nullptr, sizeof(Wanted), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  return at == MAP_FAILED ? own : *static_cast<Wanted*>(at);
}

Wanted& wanted() {
  static Wanted& once = mapped();
  return once;
}

bool isToFail() {
  static std::atomic<unsigned> state{1};
  unsigned const number = wanted().oneOf;
  if (number != 0 && (state = state * 1664525U + 1013904223U) / 65536U % number == 0) return true;
  return callsUntilFailure() != 0 && --callsUntilFailure() == 0;
}

}  // namespace

std::atomic<std::uint32_t>& callsUntilFailure() { return wanted().calls; }

void* operator new(std::size_t size) {
  void* const memory = isToFail() ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (memory != nullptr) return memory;
  if (auto const handler = std::get_new_handler()) handler();
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
  using Function = int (*)(clockid_t, timespec*);
  static auto const real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "clock_gettime"));
  int const result = real(clock, time);
  if (clock == CLOCK_REALTIME) time->tv_sec += wanted().seconds;
  return result;
}
