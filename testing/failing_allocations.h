#pragma once

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

}  // namespace norv::testing
