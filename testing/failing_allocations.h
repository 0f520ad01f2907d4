#pragma once

#include <cstdint>

namespace norv::testing {

/// Lets allocations of the calling thread fail for its scope. The program compiles
/// failing_allocations.cpp in, which replaces operator new, for all shared libraries too.
class ScopedFailingAllocations {
 public:
  enum class Failing { kOnce, kFromThenOn };

  /// `succeeding` allocations succeed before the one that fails.
  ScopedFailingAllocations(int succeeding, Failing failing);
  ScopedFailingAllocations(const ScopedFailingAllocations&) = delete;
  ScopedFailingAllocations& operator=(const ScopedFailingAllocations&) = delete;
  ~ScopedFailingAllocations();
};

/// Whether an allocation failed in the latest such scope of the calling thread.
bool hasAllocationFailed();

/// What all threads together have allocated by operator new and not given back. Protocol Buffers
/// and the containers of the standard library allocate by no other way.
struct LiveMemory {
  std::int64_t blocks;
  std::int64_t bytes;
};

LiveMemory liveMemory();

}  // namespace norv::testing
