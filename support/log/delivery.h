#pragma once

/// The way of finished statements to the sink or to standard error, one at a time, and the end of
/// the process where a statement asks for it. Everything here is thread-safe.

#include "support/log_record.h"

namespace norv::internal {

/// As setLogSink and setTerminatingLevel (support/logging.h).
void replaceSink(LogSink sink);
void setStoppingLevel(int level);

/// Hands a statement to the sink, or to standard error where there is none, where this thread is in
/// the sink already, or where the sink throws. Throws nothing and allocates nothing itself.
void deliver(const LogRecord& record) noexcept;

/// Whether a statement of `level` stops the process.
bool stopsProcess(int level);

/// Flushes standard error and aborts.
[[noreturn]] void stopProcess();

}  // namespace norv::internal
