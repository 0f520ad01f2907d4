#pragma once

/// Texts of log statements.

#include <cstdarg>
#include <new>
#include <string>

namespace norv::internal {

/// Stands for a text that memory did not hold. At 15 characters it fits into a std::string's own
/// object in the common standard libraries, so that making a string of it allocates nothing.
inline constexpr const char* kDroppedText = "(out of memory)";

/// What `build()` returns, a std::string, or kDroppedText if it throws std::bad_alloc.
template <class Build>
std::string textUnlessOutOfMemory(const Build& build) {
  try {
    return build();
  } catch (const std::bad_alloc&) {
    return kDroppedText;
  }
}

/// The text that printf would write, with numbers as in the "C" locale; the format itself if it
/// cannot be followed, kDroppedText if there is no memory. Throws nothing. Thread-safe.
__attribute__((format(printf, 1, 0))) std::string formatText(const char* format,
                                                             std::va_list arguments);

}  // namespace norv::internal
