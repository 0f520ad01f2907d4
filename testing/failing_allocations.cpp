#include "testing/failing_allocations.h"

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

bool mustFail() {
  if (!state.armed || state.succeeding-- > 0) return false;
  state.failed = true;
  state.armed = !state.once;
  return true;
}

}  // namespace

void* operator new(std::size_t size) {
  if (!mustFail()) {
    if (void* const memory = std::malloc(size > 0 ? size : 1)) return memory;
  }
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

namespace norv::testing {

ScopedFailingAllocations::ScopedFailingAllocations(int succeeding, Failing failing) {
  state = {true, failing == Failing::kOnce, false, succeeding};
}

ScopedFailingAllocations::~ScopedFailingAllocations() { state.armed = false; }

bool hasAllocationFailed() { return state.failed; }

}  // namespace norv::testing
