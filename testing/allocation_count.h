#pragma once

namespace norv::testing {

/// Whether `allocationCount` sees malloc and its relatives, and with them Eigen's matrices of
/// dynamic size; where a sanitizer brings its own allocator it sees operator new alone.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kCountsMalloc = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kCountsMalloc = false;
#else
#define NORV_COUNTS_MALLOC
inline constexpr bool kCountsMalloc = true;
#endif
#else
#define NORV_COUNTS_MALLOC
inline constexpr bool kCountsMalloc = true;
#endif

/// How often the calling thread has allocated. The program compiles allocation_count.cpp in, which
/// replaces the functions that allocate, for all shared libraries too.
int allocationCount();

}  // namespace norv::testing
