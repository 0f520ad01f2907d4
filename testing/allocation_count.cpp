#include "testing/allocation_count.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {
thread_local int allocations = 0;
}  // namespace

#ifdef NORV_COUNTS_MALLOC

// What the C library itself calls the functions that are replaced here. Its operator new ends in
// malloc.
extern "C" {
void* libraryMalloc(std::size_t size) __asm__("__libc_malloc");
void* libraryCalloc(std::size_t count, std::size_t size) __asm__("__libc_calloc");
void* libraryRealloc(void* memory, std::size_t size) __asm__("__libc_realloc");
void* libraryMemalign(std::size_t alignment, std::size_t size) __asm__("__libc_memalign");

#define NORV_REPLACES __attribute__((visibility("default")))

NORV_REPLACES void* malloc(std::size_t size) noexcept {
  ++allocations;
  return libraryMalloc(size);
}

NORV_REPLACES void* calloc(std::size_t nmemb, std::size_t size) noexcept {
  ++allocations;
  return libraryCalloc(nmemb, size);
}

NORV_REPLACES void* realloc(void* ptr, std::size_t size) noexcept {
  ++allocations;
  return libraryRealloc(ptr, size);
}

NORV_REPLACES void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  ++allocations;
  return libraryMemalign(alignment, size);
}

NORV_REPLACES int posix_memalign(void** memptr, std::size_t alignment, std::size_t size) noexcept {
  ++allocations;
  *memptr = libraryMemalign(alignment, size);
  return *memptr != nullptr ? 0 : ENOMEM;
}
}

#else

void* operator new(std::size_t size) {
  ++allocations;
  if (void* const memory = std::malloc(size > 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

#endif

namespace norv::testing {

int allocationCount() { return allocations; }

}  // namespace norv::testing
