#include "tests/testing/allocation_count.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {
thread_local int allocations = 0;
}  // namespace

void* operator new(std::size_t size) {
  ++allocations;
  if (void* const memory = std::malloc(size > 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

namespace norv::testing {

int allocationCount() { return allocations; }

}  // namespace norv::testing
