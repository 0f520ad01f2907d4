#pragma once

/// Checks of the product's invariants. A failed check writes a fatal statement on the channel
/// "check", which stops the process (support/logging.h); where the logger is configured to let it
/// pass, execution goes on after the check, so the code there must be defined too.
/// Conventions: docs/conventions.md.

#include <cstdint>

#include "export.h"
#include "logging.h"

namespace norv::internal {

/// Where a check stands.
struct CheckSite {
  const char* file;
  const char* function;
  int line;
  int* state;
};

/// Writes "Check failed " + expression + " ".
NORV_EXPORT void reportFailedCheck(const char* expression, const CheckSite& site);

/// Writes "Check failed: " + comparison + " (a vs. b) ".
NORV_EXPORT void reportFailedComparison(const char* comparison, std::int64_t a, std::int64_t b,
                                        const CheckSite& site);

}  // namespace norv::internal

#define NORV_CHECK_SITE() \
  ::norv::internal::CheckSite { __FILE__, __PRETTY_FUNCTION__, __LINE__, NORV_LOG_SITE_STATE() }

/// Checks that an expression is true. It is evaluated once, and its source text is reported.
#define NORV_CHECK(...) NORV_CHECK_AS(#__VA_ARGS__, __VA_ARGS__)

/// The same with a text of its own, for an operation that is performed through a wrapper and
/// reported under its usual spelling.
#define NORV_CHECK_AS(text, ...)  \
  (static_cast<bool>(__VA_ARGS__) \
       ? static_cast<void>(0)     \
       : ::norv::internal::reportFailedCheck((text), NORV_CHECK_SITE()))

/// Check that two integers compare as stated. Each is evaluated once; on failure the comparison's
/// source text and both values are reported.
#define NORV_CHECK_GE(a, b) NORV_CHECK_COMPARISON(#a " >= " #b, a, >=, b)
#define NORV_CHECK_GT(a, b) NORV_CHECK_COMPARISON(#a " > " #b, a, >, b)

#define NORV_CHECK_COMPARISON(text, a, op, b)                                      \
  do {                                                                             \
    const std::int64_t norv_check_a = (a);                                         \
    const std::int64_t norv_check_b = (b);                                         \
    if (!(norv_check_a op norv_check_b)) {                                         \
      ::norv::internal::reportFailedComparison((text), norv_check_a, norv_check_b, \
                                               NORV_CHECK_SITE());                 \
    }                                                                              \
  } while (false)
