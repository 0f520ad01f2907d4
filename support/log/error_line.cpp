#include "support/log/error_line.h"

#include <algorithm>
#include <charconv>

#include "support/log/escapes.h"
#include "support/log/level_names.h"

namespace norv::internal {
namespace {

static_assert(kMaxEscapeSize == 4, "ErrorLine has room for this much");

/// The most whole characters of `text` that take at most `max_size` bytes.
std::string_view beginning(std::string_view text, std::size_t max_size) {
  if (text.size() <= max_size) return text;
  std::size_t size = 0;
  for (;;) {
    const std::size_t next = size + leadingCharacter(text.substr(size)).size;
    if (next > max_size) return text.substr(0, size);
    size = next;
  }
}

}  // namespace

void ErrorLine::append(std::string_view piece) {
  size_ += piece.copy(&characters_[size_], kCapacity - size_);
}

void ErrorLine::appendNumber(std::int64_t number) {
  char digits[20];  // as many as -2^63 has
  const char* const end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
  append({digits, static_cast<std::size_t>(end - digits)});
}

void ErrorLine::appendShortened(std::string_view text, std::size_t max_size) {
  const std::string_view shown = beginning(text, max_size);
  appendPrintable(shown, [this](std::string_view piece) { append(piece); });
  if (shown.size() == text.size()) return;
  append(" ... (");
  appendNumber(static_cast<std::int64_t>(text.size() - shown.size()));
  append(" more bytes)");
}

void ErrorLine::set(const LogRecord& record) {
  size_ = 0;
  LogLevelNameBuffer buffer;
  append(logLevelName(record.level, &buffer));
  append(" ");
  appendShortened(record.channel, kMaxNameSize);
  append(" ");
  appendShortened(record.file, kMaxNameSize);
  append(":");
  appendNumber(record.line);
  append(": ");
  appendShortened(record.text, kMaxTextSize);
  append("\n");
}

}  // namespace norv::internal
