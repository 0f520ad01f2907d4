#pragma once

/// Texts of statements that are still being written.

#include <locale>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

#include "support/log_record.h"

namespace norv::internal {

/// Collects what a stream writes. The first characters need no allocation; where a later one fails,
/// the text is dropped and the stream goes bad.
class LineBuffer final : public std::streambuf {
 public:
  LineBuffer() { setp(first_, first_ + sizeof(first_)); }

  /// Moves what was written into `*text`, or kDroppedText where memory did not hold it, and starts
  /// anew. Throws nothing.
  void take(std::string* text) noexcept;

 protected:
  int_type overflow(int_type c) override;

 private:
  void moveTo(std::string* text);
  void drop();

  char first_[512];
  std::string rest_;
  bool is_dropped_ = false;
};

/// A stream, the buffer that it writes into and the record that it becomes.
class LogLineStream {
 public:
  LogLineStream() : stream_(&buffer_) { stream_.imbue(std::locale::classic()); }

  std::ostream& stream() { return stream_; }
  LogRecord& record() { return record_; }

  /// The record with the text written so far. Throws nothing.
  const LogRecord& finish() noexcept {
    buffer_.take(&record_.text);
    return record_;
  }

  /// Undoes what a statement may have done to the stream; false if it is not fit for another one.
  bool reset();

 private:
  LineBuffer buffer_;
  std::ostream stream_;
  LogRecord record_ = {};
};

/// A line to write into, nullptr if there is no memory for one; giveBackLine keeps some for later
/// statements, since constructing a standard stream costs more than writing a typical line. Both
/// throw nothing and are thread-safe.
std::unique_ptr<LogLineStream> takeLine() noexcept;
void giveBackLine(std::unique_ptr<LogLineStream> line) noexcept;

}  // namespace norv::internal
