#include "support/logging.h"

#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <locale>
#include <mutex>
#include <streambuf>
#include <utility>

#include <locale.h>

#include "support/log/levels.h"

namespace norv {
namespace internal {
namespace {

/// Lines longer than this are not worth keeping the memory of.
constexpr std::size_t kLargestKeptText = std::size_t{16} * 1024;

/// Collects what a stream writes. The first characters need no allocation.
class LineBuffer final : public std::streambuf {
 public:
  LineBuffer() { setp(first_, first_ + sizeof(first_)); }

  /// Moves what was written into `*text` and starts anew.
  void take(std::string* text) {
    if (rest_.empty()) {
      text->assign(pbase(), pptr());
    } else {
      rest_.append(pbase(), pptr());
      text->swap(rest_);
      rest_.clear();
    }
    setp(first_, first_ + sizeof(first_));
  }

 protected:
  int_type overflow(int_type c) override {
    rest_.append(pbase(), pptr());
    setp(first_, first_ + sizeof(first_));
    if (!traits_type::eq_int_type(c, traits_type::eof())) sputc(traits_type::to_char_type(c));
    return traits_type::not_eof(c);
  }

 private:
  char first_[512];
  std::string rest_;
};

}  // namespace

/// A stream, the buffer that it writes into and the record that it becomes. Constructing a standard
/// stream costs more than writing a typical line, so each thread keeps one for its next statement.
class LogLineStream {
 public:
  LogLineStream() : stream_(&buffer_) { stream_.imbue(std::locale::classic()); }

  std::ostream& stream() { return stream_; }
  LogRecord& record() { return record_; }

  /// The record with the text written so far.
  const LogRecord& finish() {
    buffer_.take(&record_.text);
    return record_;
  }

  /// Undoes what a statement may have done to the stream; false if it is not fit for another one.
  bool reset() {
    if (stream_.getloc() != std::locale::classic() || stream_.exceptions() != std::ios::goodbit ||
        record_.text.capacity() > kLargestKeptText) {
      return false;
    }
    stream_.clear();
    stream_.flags(std::ios::skipws | std::ios::dec);
    stream_.precision(6);
    stream_.width(0);
    stream_.fill(' ');
    return true;
  }

 private:
  LineBuffer buffer_;
  std::ostream stream_;
  LogRecord record_ = {};
};

namespace {

/// The thread's spare stream. The pointer and the flag are trivial, so that statements from
/// destructors that run after this thread's spare is gone still find them.
thread_local LogLineStream* spare_line = nullptr;
thread_local bool spare_is_gone = false;

struct SpareOwner {
  ~SpareOwner() {
    delete std::exchange(spare_line, nullptr);
    spare_is_gone = true;
  }
};

std::unique_ptr<LogLineStream> takeLine() {
  if (spare_line != nullptr) {
    return std::unique_ptr<LogLineStream>(std::exchange(spare_line, nullptr));
  }
  return std::make_unique<LogLineStream>();
}

void giveBackLine(std::unique_ptr<LogLineStream> line) {
  if (spare_is_gone || spare_line != nullptr || !line->reset()) return;
  static thread_local const SpareOwner owner;
  static_cast<void>(owner);
  spare_line = line.release();
}

/// Where statements go.
struct Output {
  std::mutex delivery;  ///< held while a statement is delivered: one at a time
  std::mutex guard;     ///< of `sink`; apart from `delivery`, so that a sink may replace itself
  std::shared_ptr<const LogSink> sink;
};

/// Never destroyed: destructors of global objects log too.
Output& output() {
  static auto* const instance = new Output;
  return *instance;
}

std::atomic<int> terminating_level{kLogFatal};

/// Whether this thread is inside the sink (or inside the destructor of a replaced one).
thread_local bool in_sink = false;

void appendEscaped(const std::string& text, std::string* line) {
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\n') {
      line->append("\\n");
    } else if (byte < 0x20 || byte == 0x7f) {
      char escape[5];
      std::snprintf(escape, sizeof(escape), "\\x%02x", static_cast<unsigned>(byte));
      line->append(escape);
    } else {
      line->push_back(c);
    }
  }
}

/// One write, so that lines of several threads and processes do not mix.
void writeToStandardError(const LogRecord& record) {
  std::string line = logLevelName(record.level);
  line.append(" ").append(record.channel).append(" ").append(record.file);
  line.append(":").append(std::to_string(record.line)).append(": ");
  appendEscaped(record.text, &line);
  line.push_back('\n');
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
}

std::shared_ptr<const LogSink> currentSink() {
  const std::lock_guard<std::mutex> lock(output().guard);
  return output().sink;
}

void callSink(std::shared_ptr<const LogSink> sink, const LogRecord& record) {
  in_sink = true;
  try {
    (*sink)(record);
  } catch (...) {
    writeToStandardError(record);
  }
  // A sink that replaced itself is destroyed here, and its captures may log.
  sink.reset();
  in_sink = false;
}

void deliver(const LogRecord& record) {
  if (in_sink) {
    writeToStandardError(record);
    return;
  }
  const std::lock_guard<std::mutex> lock(output().delivery);
  if (std::shared_ptr<const LogSink> sink = currentSink()) {
    callSink(std::move(sink), record);
  } else {
    writeToStandardError(record);
  }
}

[[noreturn]] void stopProcess() {
  std::fflush(stderr);
  std::abort();
}

/// Switches this thread to the "C" locale for its scope.
class ScopedClassicLocale {
 public:
  ScopedClassicLocale() : previous_(::uselocale(classic())) {}
  ScopedClassicLocale(const ScopedClassicLocale&) = delete;
  ScopedClassicLocale& operator=(const ScopedClassicLocale&) = delete;
  ~ScopedClassicLocale() { ::uselocale(previous_); }

 private:
  static ::locale_t classic() {
    static const ::locale_t locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
  }

  ::locale_t previous_;
};

__attribute__((format(printf, 1, 0))) std::string formatText(const char* format,
                                                             std::va_list arguments) {
  const ScopedClassicLocale classic;
  std::va_list again;
  va_copy(again, arguments);
  std::string text;
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  if (length >= 0) {
    text.resize(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(text.data(), text.size(), format, again);
    text.resize(static_cast<std::size_t>(length));
  } else {
    text = format;
  }
  va_end(again);
  return text;
}

void countStatement(int* site_state) {  // NOLINT(readability-non-const-parameter): counts
  if (site_state != nullptr) __atomic_fetch_add(site_state, 1, __ATOMIC_RELAXED);
}

bool terminates(int level) {
  const int limit = terminating_level.load(std::memory_order_relaxed);
  return limit > 0 && level <= limit;
}

}  // namespace
}  // namespace internal

void setLogSink(LogSink sink) {
  auto replacement =
      sink ? std::make_shared<const LogSink>(std::move(sink)) : std::shared_ptr<const LogSink>();
  // The old sink is destroyed after the lock is released: its captures may log.
  const std::lock_guard<std::mutex> lock(internal::output().guard);
  internal::output().sink.swap(replacement);
}

void setTerminatingLevel(int level) {
  internal::terminating_level.store(level, std::memory_order_relaxed);
}

LoggingStream::LoggingStream(LoggingFilter* /*filter*/, int level, const char* channel,
                             const char* file, const char* function, int line, int* site_state)
    : line_(internal::takeLine()) {
  internal::countStatement(site_state);
  LogRecord& record = line_->record();
  record.level = level;
  record.channel = channel;
  record.file = file;
  record.function = function;
  record.line = line;
}

LoggingStream::~LoggingStream() {
  const LogRecord& record = line_->finish();
  internal::deliver(record);
  if (internal::terminates(record.level)) internal::stopProcess();
  internal::giveBackLine(std::move(line_));
}

std::ostream& LoggingStream::stream() { return line_->stream(); }

void logToLogger(LoggingFilter* /*filter*/, int level, const char* channel, const char* file,
                 const char* function, int line, int* site_state, const char* format, ...) {
  internal::countStatement(site_state);
  std::va_list arguments;
  va_start(arguments, format);
  const LogRecord record = {level,    channel, file,
                            function, line,    internal::formatText(format, arguments)};
  va_end(arguments);
  internal::deliver(record);
}

bool loggerMustBreak(int level, const char* /*channel*/) { return internal::terminates(level); }

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
