#pragma once

namespace norv::testing {

/// How often the calling thread has allocated with operator new. The program compiles
/// allocation_count.cpp in, which replaces that operator.
int allocationCount();

}  // namespace norv::testing
