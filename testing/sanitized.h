#pragma once

/// How the tests are compiled, for limits of time.

namespace norv::testing {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif
#else
inline constexpr bool kSanitized = false;
#endif

#ifdef NDEBUG
inline constexpr bool kOptimised = true;
#else
inline constexpr bool kOptimised = false;
#endif

/// Seconds of the processor that a test may take which has `seconds` in a release build: sanitizers
/// and code that is not optimised take longer.
constexpr double allowedSeconds(double seconds) {
  return seconds * (kSanitized ? 20 : kOptimised ? 1 : 5);
}

}  // namespace norv::testing
