#pragma once

/// Channel-based logging: leveled statements, stream or printf style, to standard error or to a
/// sink of the program's choice. A statement whose level is not enabled on its channel builds
/// nothing, neither text nor arguments. All functions here are thread-safe.
/// Conventions: docs/conventions.md.

#include <atomic>
#include <climits>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "support/export.h"

namespace norv {

/// Severities; smaller is more severe. (4 is not used.)
enum LogLevel : int {
  kLogFatal = 1,    ///< failed checks, on the channel "check"
  kLogError = 2,    ///< rejected input, failed computations
  kLogWarning = 3,  ///< fallbacks, doubtful results
  kLogInfo = 5,     ///< choices made and values computed
  kLogDebug = 6,    ///< step-by-step traces
};

/// One finished statement, as a sink receives it. The pointers outlive the call only where the
/// statement's own literals do.
struct LogRecord {
  int level;
  const char* channel;
  const char* file;
  const char* function;  ///< full signature, as the compiler's pretty-function text gives it
  int line;
  std::string text;
};

/// Receives every enabled statement. Calls are made one at a time, on the thread that logs,
/// whatever the number of threads. A sink may log (its own statements go to standard error), throw
/// (the statement it threw on goes to standard error instead) and call the set functions below; it
/// must not wait for another thread that logs.
using LogSink = std::function<void(const LogRecord&)>;

/// Makes `sink` receive the statements from now on; an empty one restores standard error, which
/// gets one line a statement: level name, channel, file:line and text. Line breaks and other
/// control characters in the text are written as escapes there, so that a line is a statement.
///
/// Does not wait: a call of the former sink that another thread has begun may still be under way on
/// return. That sink is destroyed only after it; what it refers to must live as long.
NORV_EXPORT void setLogSink(LogSink sink);

/// Enables the levels 1 to `level` on `channel` and disables the rest; 0 disables all. nullptr sets
/// every channel, those configured one by one before included. Initially warnings and worse are
/// enabled. The channel's name is copied.
///
/// The environment variable NORV_LOG sets levels at the first use of the logger: a level name (off,
/// fatal, error, warning, info, debug) for every channel, or a comma-separated list in which
/// `channel=level` sets a single one, such as "info" or "camera_parameters=debug,check=fatal". A
/// malformed value is reported once and ignored as a whole.
NORV_EXPORT void setLogLevel(const char* channel, int level);

/// Statements of `level` and more severe stop the process with `std::abort` once they are out and
/// flushed; 0 makes none do so. Initially 1: failed checks stop the process. A statement that is
/// not enabled never does.
NORV_EXPORT void setTerminatingLevel(int level);

/// Placeholder for filters that a program's logger may define; the statements of this library pass
/// none.
class LoggingFilter;

namespace internal {

/// The least severe level that any channel enables; INT_MAX until the logger has been configured
/// by its first use.
NORV_EXPORT extern std::atomic<int> max_enabled_log_level;

/// Whether `channel` itself enables `level`; configures the logger at the first call.
NORV_EXPORT bool isChannelEnabled(int level, const char* channel);

class LogLineStream;

/// Gives an expression of stream type the type void, so that the two branches of a logging
/// statement agree. Binds looser than << and tighter than ?:.
struct StreamToVoid {
  template <class Stream>
  void operator&(const Stream& /*unused*/) const {}
};

}  // namespace internal

/// Whether statements of `level` on `channel` are produced. Costs an atomic load and a branch when
/// no channel at all enables `level`.
inline bool isLoggerEnabled(int level, const char* channel) {
  return level <= internal::max_enabled_log_level.load(std::memory_order_relaxed) &&
         internal::isChannelEnabled(level, channel);
}

/// A stream-style statement: an output stream whose text is emitted when the object is destroyed.
/// If `level` is at or beyond the terminating level, that stops the process.
///
/// The strings are not copied and must live until then. Numbers are written in the "C" locale with
/// the stream's default formatting, whatever the global locale is. `site_state` is the statement's
/// own integer, initially -1; the logger counts the site's statements in it (0 after the first),
/// for use in a debugger, and accepts nullptr. Whether the level is enabled is not asked again.
class NORV_EXPORT LoggingStream {
 public:
  LoggingStream(LoggingFilter* filter, int level, const char* channel, const char* file,
                const char* function, int line, int* site_state);
  LoggingStream(const LoggingStream&) = delete;
  LoggingStream& operator=(const LoggingStream&) = delete;
  ~LoggingStream();

  /// The stream that the text is written into.
  std::ostream& stream();
  operator std::ostream&() { return stream(); }

  template <class T>
  std::ostream& operator<<(const T& value) {
    return stream() << value;
  }
  std::ostream& operator<<(std::ostream& (*manipulator)(std::ostream&)) {
    return stream() << manipulator;
  }
  std::ostream& operator<<(std::ios_base& (*manipulator)(std::ios_base&)) {
    return stream() << manipulator;
  }

 private:
  std::unique_ptr<internal::LogLineStream> line_;
};

/// A printf-style statement: emits the formatted text at once. Numbers are written in the "C"
/// locale. Other arguments as for LoggingStream.
NORV_EXPORT void logToLogger(LoggingFilter* filter, int level, const char* channel,
                             const char* file, const char* function, int line, int* site_state,
                             const char* format, ...) __attribute__((format(printf, 8, 9)));

/// Whether `level` is at or beyond the terminating level; asked after every printf-style statement.
NORV_EXPORT bool loggerMustBreak(int level, const char* channel);

/// Emits the formatted text, without a line break at its end, as a fatal statement on the channel
/// "check" at the given place, flushes and stops the process with `std::abort`. Neither the enabled
/// levels nor the terminating level are asked.
[[noreturn]] NORV_EXPORT void handleAssertion(const char* file, int line, const char* function,
                                              const char* format, ...)
    __attribute__((format(printf, 4, 5)));

}  // namespace norv

/// The site state of the statement that this stands in.
#define NORV_LOG_SITE_STATE()        \
  ([]() noexcept -> int* {           \
    static int norv_site_state = -1; \
    return &norv_site_state;         \
  }())

/// Stream-style statement: `NORV_LOG(norv::kLogInfo, "camera_parameters") << "width=" << width;`
/// Nothing to the right of it is evaluated unless the level is enabled. Usable wherever an
/// expression statement is, a bare if/else included.
#define NORV_LOG(level, channel)                                                                \
  !::norv::isLoggerEnabled((level), (channel))                                                  \
      ? static_cast<void>(0)                                                                    \
      : ::norv::internal::StreamToVoid() & ::norv::LoggingStream(nullptr, (level), (channel),   \
                                                                 __FILE__, __PRETTY_FUNCTION__, \
                                                                 __LINE__, NORV_LOG_SITE_STATE())

/// Printf-style statement: `NORV_LOG_FORMAT(norv::kLogInfo, "ptz_camera_model", "zoom=%d", zoom);`
/// The arguments are evaluated only when the level is enabled.
#define NORV_LOG_FORMAT(level, channel, ...)                                                       \
  do {                                                                                             \
    if (::norv::isLoggerEnabled((level), (channel))) {                                             \
      ::norv::logToLogger(nullptr, (level), (channel), __FILE__, __PRETTY_FUNCTION__, __LINE__,    \
                          NORV_LOG_SITE_STATE(), __VA_ARGS__);                                     \
      if (::norv::loggerMustBreak((level), (channel))) {                                           \
        ::norv::handleAssertion(__FILE__, __LINE__, __PRETTY_FUNCTION__,                           \
                                "Assertion failed: Reached terminating log level. Terminating\n"); \
      }                                                                                            \
    }                                                                                              \
  } while (false)
