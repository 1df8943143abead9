// For LD_PRELOAD: operator new fails now and then. The file $FAILING_NEW holds a number N (four
// bytes), read at each call: one call of N fails, at random, or none where N is 0. Only C++ code
// calls it; in snmpd that is the module.

#include <atomic>
#include <cstdlib>
#include <new>

#include <fcntl.h>
#include <sys/mman.h>

namespace {

using Number = std::atomic<unsigned>;

Number const* mapped() {
  char const* const file = std::getenv("FAILING_NEW");
  int const fd = file ? open(file, O_RDONLY | O_CLOEXEC) : -1;
  if (fd < 0) return nullptr;
  void* const at = mmap(nullptr, sizeof(Number), PROT_READ, MAP_SHARED, fd, 0);
  return at == MAP_FAILED ? nullptr : static_cast<Number const*>(at);
}

bool isToFail() {
  static Number const* const oneOf = mapped();
  static std::atomic<unsigned> state{1};
  unsigned const number = oneOf ? oneOf->load() : 0;
  return number != 0 && (state = state * 1664525U + 1013904223U) / 65536U % number == 0;
}

}  // namespace

void* operator new(std::size_t size) {
  void* const memory = isToFail() ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
