#pragma once

/// Severities of log statements and the question whether they are enabled. A part of
/// support/logging.h, which is what programs include. Conventions: docs/conventions.md.

#include <atomic>

#include "export.h"

namespace norv {

/// Severities; smaller is more severe. (4 is not used.) 0 and below are no levels: nothing enables
/// them, and they never stop the process.
enum LogLevel : int {
  kLogFatal = 1,    ///< failed checks, on the channel "check"
  kLogError = 2,    ///< rejected input, failed computations
  kLogWarning = 3,  ///< fallbacks, doubtful results
  kLogInfo = 5,     ///< choices made and values computed
  kLogDebug = 6,    ///< step-by-step traces
};

namespace internal {

/// The least severe level that any channel enables; INT_MAX until the logger has been configured
/// by its first use.
NORV_EXPORT extern std::atomic<int> max_enabled_log_level;

/// Whether `channel` itself enables `level`; configures the logger at the first call. Throws
/// nothing. Thread-safe.
NORV_EXPORT bool isChannelEnabled(int level, const char* channel);

}  // namespace internal

/// Whether statements of `level` on `channel` are produced; never those of levels of 0 and below.
/// Costs an atomic load and a branch when no channel at all enables `level`. Throws nothing.
/// Thread-safe.
inline bool isLoggerEnabled(int level, const char* channel) {
  return level <= internal::max_enabled_log_level.load(std::memory_order_relaxed) &&
         internal::isChannelEnabled(level, channel);
}

}  // namespace norv
