#pragma once

/// Finished log statements. A part of support/logging.h, which is what programs include.
/// Conventions: docs/conventions.md.

#include <functional>
#include <string>

namespace norv {

/// One finished statement, as a sink receives it. The pointers outlive the call only where the
/// statement's own literals do.
struct LogRecord {
  int level;
  const char* channel;
  const char* file;
  const char* function;  ///< full signature, as the compiler's pretty-function text gives it
  int line;
  std::string text;  ///< all of it, however long; "(out of memory)" where memory did not hold it
};

/// Receives every enabled statement. Calls are made one at a time, on the thread that logs,
/// whatever the number of threads. A sink may log (its own statements go to standard error), throw
/// (the statement it threw on goes to standard error instead) and call the set functions of
/// support/logging.h; it must not wait for another thread that logs.
using LogSink = std::function<void(const LogRecord&)>;

}  // namespace norv
