#include "support/logging.h"

#include <cstdarg>
#include <string>
#include <utility>

#include "support/log/delivery.h"
#include "support/log/levels.h"
#include "support/log/line.h"
#include "support/log/text.h"

namespace norv {
namespace {

void countStatement(int* site_state) {  // NOLINT(readability-non-const-parameter): counts
  if (site_state != nullptr) __atomic_fetch_add(site_state, 1, __ATOMIC_RELAXED);
}

}  // namespace

void setLogSink(LogSink sink) { internal::replaceSink(std::move(sink)); }

void setLogLevel(const char* channel, int level) { internal::setChannelLevel(channel, level); }

void setTerminatingLevel(int level) { internal::setStoppingLevel(level); }

LoggingStream::LoggingStream(LoggingFilter* /*filter*/, int level, const char* channel,
                             const char* file, const char* function, int line,
                             int* site_state) noexcept
    : line_(internal::takeLine()) {
  countStatement(site_state);
  if (line_ == nullptr) {
    discarded_.emplace();
    discarded_->record.text = internal::kDroppedText;
  }
  LogRecord& record = line_ != nullptr ? line_->record() : discarded_->record;
  record.level = level;
  record.channel = channel;
  record.file = file;
  record.function = function;
  record.line = line;
}

LoggingStream::~LoggingStream() {
  const LogRecord& record = line_ != nullptr ? line_->finish() : discarded_->record;
  internal::deliver(record);
  if (internal::stopsProcess(record.level)) internal::stopProcess();
  internal::giveBackLine(std::move(line_));
}

std::ostream& LoggingStream::stream() {
  return line_ != nullptr ? line_->stream() : discarded_->stream;
}

void logToLogger(LoggingFilter* /*filter*/, int level, const char* channel, const char* file,
                 const char* function, int line, int* site_state, const char* format, ...) {
  countStatement(site_state);
  std::va_list arguments;
  va_start(arguments, format);
  const LogRecord record = {level,    channel, file,
                            function, line,    internal::formatText(format, arguments)};
  va_end(arguments);
  internal::deliver(record);
}

bool loggerMustBreak(int level, const char* /*channel*/) { return internal::stopsProcess(level); }

void handleAssertion(const char* file, int line, const char* function, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::string text = internal::formatText(format, arguments);
  va_end(arguments);
  if (!text.empty() && text.back() == '\n') text.pop_back();
  internal::deliver({kLogFatal, "check", file, function, line, std::move(text)});
  internal::stopProcess();
}

}  // namespace norv
