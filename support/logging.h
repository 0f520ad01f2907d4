#pragma once

/// Channel-based logging: leveled statements, stream or printf style, to standard error or to a
/// sink of the program's choice. A statement whose level is not enabled on its channel builds
/// nothing, neither text nor arguments. All functions here are thread-safe.
/// Conventions: docs/conventions.md.

#include <memory>
#include <optional>
#include <ostream>

#include "export.h"
#include "log_level.h"
#include "log_record.h"

namespace norv {

/// Makes `sink` receive the statements from now on; an empty one restores standard error, which
/// gets one line a statement: level name, channel, file:line and text.
///
/// Channel, file and text are written there as toPrintable gives them (support/printable_text.h),
/// so that a line is a statement and what it quotes cannot act on the terminal. Of the text the
/// line holds the first 4 KiB, cut between two characters, and then how many bytes follow, as in "
/// ... (268435456 more bytes)"; of channel and file it has the first 1 KiB. Writing it allocates
/// nothing. A sink gets all of the text as it is.
///
/// Does not wait: a call of the former sink that another thread has begun may still be under way on
/// return. That sink is destroyed only after it; what it refers to must live as long. Throws
/// std::bad_alloc, with the former sink in place, when there is no memory for the new one.
NORV_EXPORT void setLogSink(LogSink sink);

/// Enables the levels 1 to `level` on `channel` and disables the rest; 0 disables all. nullptr sets
/// every channel, those configured one by one before included. Initially warnings and worse are
/// enabled. The channel's name is copied; throws std::bad_alloc, with the levels as they were, when
/// there is no memory for it.
///
/// The environment variable NORV_LOG sets levels at the first use of the logger: a level name (off,
/// fatal, error, warning, info, debug) for every channel, or a comma-separated list in which
/// `channel=level` sets a single one, such as "info" or "camera_parameters=debug,check=fatal". A
/// malformed value is reported once and ignored as a whole. As long as there is no memory to read
/// it, the initial levels are in force and each use tries again.
NORV_EXPORT void setLogLevel(const char* channel, int level);

/// Statements of `level` and more severe stop the process with `std::abort` once they are out and
/// flushed; 0 makes none do so. Initially 1: failed checks stop the process. A statement that is
/// not enabled never does, nor does one of a level of 0 or below.
NORV_EXPORT void setTerminatingLevel(int level);

/// Placeholder for filters that a program's logger may define; the statements of this library pass
/// none.
class LoggingFilter;

namespace internal {

class LogLineStream;

/// Stands in for the line of a statement that found no memory for one: takes in nothing.
struct DiscardedLine {
  std::ostream stream{nullptr};
  LogRecord record;
};

/// Gives an expression of stream type the type void, so that the two branches of a logging
/// statement agree. Binds looser than << and tighter than ?:.
struct StreamToVoid {
  template <class Stream>
  void operator&(const Stream& /*unused*/) const {}
};

}  // namespace internal

/// A stream-style statement: an output stream whose text is emitted when the object is destroyed.
/// If `level` is at or beyond the terminating level, that stops the process.
///
/// The strings are not copied and must live until then. Numbers are written in the "C" locale with
/// the stream's default formatting, whatever the global locale is. `site_state` is the statement's
/// own integer, initially -1; the logger counts the site's statements in it (0 after the first),
/// for use in a debugger, and accepts nullptr. Whether the level is enabled is not asked again.
///
/// Runs out of memory without an exception: the statement drops its text and is emitted with
/// "(out of memory)" in its place; a terminating one still stops the process. What the values that
/// are written throw themselves passes on, once the text so far has been emitted.
class NORV_EXPORT LoggingStream {
 public:
  LoggingStream(LoggingFilter* filter, int level, const char* channel, const char* file,
                const char* function, int line, int* site_state) noexcept;
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
  std::optional<internal::DiscardedLine> discarded_;  ///< in place of `line_`
};

/// A printf-style statement: emits the formatted text at once. Numbers are written in the "C"
/// locale. Other arguments, and what happens without memory, as for LoggingStream. Throws nothing.
NORV_EXPORT void logToLogger(LoggingFilter* filter, int level, const char* channel,
                             const char* file, const char* function, int line, int* site_state,
                             const char* format, ...) __attribute__((format(printf, 8, 9)));

/// Whether `level` is at or beyond the terminating level; asked after every printf-style statement.
NORV_EXPORT bool loggerMustBreak(int level, const char* channel);

/// Emits the formatted text, without a line break at its end, as a fatal statement on the channel
/// "check" at the given place, flushes and stops the process with `std::abort`. Neither the enabled
/// levels nor the terminating level are asked. Without memory as LoggingStream.
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
