#pragma once

/// Captures log statements for the length of a scope.

#include <algorithm>
#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "support/logging.h"

namespace norv::testing {

/// A statement, with copies of all its strings.
struct CapturedLog {
  int level;
  std::string channel;
  std::string file;
  std::string function;  ///< with GCC's spacing of & and *, whatever the compiler
  int line;
  std::string text;
};

inline std::string withGccSpacing(std::string function) {
  for (const char* mark : {" &", " *"}) {
    for (std::size_t at; (at = function.find(mark)) != std::string::npos;) function.erase(at, 1);
  }
  return function;
}

/// While it lives, receives every statement of every level and lets failed checks pass. One at a
/// time.
class ScopedLogCapture {
 public:
  explicit ScopedLogCapture(int level = kLogDebug) {
    setLogLevel(nullptr, level);
    setTerminatingLevel(0);
    setLogSink([this](const LogRecord& record) {
      const std::lock_guard<std::mutex> lock(mutex_);
      logs_.push_back({record.level, record.channel, record.file, withGccSpacing(record.function),
                       record.line, record.text});
    });
  }
  ScopedLogCapture(const ScopedLogCapture&) = delete;
  ScopedLogCapture& operator=(const ScopedLogCapture&) = delete;
  ~ScopedLogCapture() {
    setLogSink({});
    setTerminatingLevel(kLogFatal);
    setLogLevel(nullptr, kLogWarning);
  }

  /// What was captured since the last call, in order.
  std::vector<CapturedLog> take() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(logs_, {});
  }

  /// The same without what is less severe than `level`.
  std::vector<CapturedLog> takeUpTo(int level) {
    std::vector<CapturedLog> logs = take();
    logs.erase(std::remove_if(logs.begin(), logs.end(),
                              [&](const CapturedLog& log) { return log.level > level; }),
               logs.end());
    return logs;
  }

 private:
  std::mutex mutex_;
  std::vector<CapturedLog> logs_;
};

/// Level, channel and text of a statement: what most tests compare.
struct LogLine {
  int level;
  std::string channel;
  std::string text;

  friend bool operator==(const LogLine& a, const LogLine& b) {
    return a.level == b.level && a.channel == b.channel && a.text == b.text;
  }
  friend std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << line.level << " " << line.channel << ": " << line.text;
  }
};

inline std::vector<LogLine> lines(const std::vector<CapturedLog>& logs) {
  std::vector<LogLine> result;
  result.reserve(logs.size());
  for (const CapturedLog& log : logs) result.push_back({log.level, log.channel, log.text});
  return result;
}

}  // namespace norv::testing
