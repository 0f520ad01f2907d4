#include "testing/failing_allocations.h"

#include <malloc.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

struct State {
  bool armed;
  bool once;
  bool failed;
  int succeeding;
};

thread_local State state = {};
std::atomic<std::int64_t> live_blocks{0};
std::atomic<std::int64_t> live_bytes{0};

bool mustFail() {
  if (!state.armed || state.succeeding-- > 0) return false;
  state.failed = true;
  state.armed = !state.once;
  return true;
}

/// Bytes of a block, which may be more than were asked for.
std::int64_t sizeOf(void* memory) { return static_cast<std::int64_t>(malloc_usable_size(memory)); }

void release(void* memory) noexcept {
  if (memory == nullptr) return;
  --live_blocks;
  live_bytes -= sizeOf(memory);
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
  if (!mustFail()) {
    if (void* const memory = std::malloc(size > 0 ? size : 1)) {
      ++live_blocks;
      live_bytes += sizeOf(memory);
      return memory;
    }
  }
  throw std::bad_alloc();
}

/// The standard library's own calls this; that of a sanitizer does not.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  try {
    return operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void operator delete(void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { release(memory); }

/// What Protocol Buffers itself loses when it runs out of memory: a field, or an entry of a list on
/// the heap, that it made before the room for it. Tests that count blocks say how many. Compilers
/// differ in which of its functions they inline. The name is the one by which the leak checker
/// looks for it.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:google::protobuf::UnknownFieldSet::Add\n"
         "leak:google::protobuf::Arena::InternalHelper\n"
         "leak:google::protobuf::Reflection::AddMessage\n"
         "leak:google::protobuf::internal::RepeatedPtrFieldBase::Add<\n";
}

namespace norv::testing {

ScopedFailingAllocations::ScopedFailingAllocations(int succeeding, Failing failing) {
  state = {true, failing == Failing::kOnce, false, succeeding};
}

ScopedFailingAllocations::~ScopedFailingAllocations() { state.armed = false; }

bool hasAllocationFailed() { return state.failed; }

LiveMemory liveMemory() { return {live_blocks, live_bytes}; }

}  // namespace norv::testing
