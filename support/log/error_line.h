#pragma once

/// Log statements as lines of standard error.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "support/log_record.h"

namespace norv::internal {

/// A statement as one line, in memory of its own. Its form and its limits are setLogSink's
/// (support/logging.h).
class ErrorLine {
 public:
  /// Bytes of a statement's text, and of its channel and its file's name, that a line shows.
  static constexpr std::size_t kMaxTextSize = 4096;
  static constexpr std::size_t kMaxNameSize = 1024;

  /// Replaces the line by that of `record`. Allocates nothing.
  void set(const LogRecord& record);

  /// The line with its line break.
  std::string_view view() const { return {characters_.data(), size_}; }

 private:
  void append(std::string_view piece);
  void appendNumber(std::int64_t number);
  void appendShortened(std::string_view text, std::size_t max_size);

  /// Room for every byte escaped, and for what stands between.
  static constexpr std::size_t kCapacity = 4 * (kMaxTextSize + 2 * kMaxNameSize) + 256;

  std::array<char, kCapacity> characters_;
  std::size_t size_ = 0;
};

}  // namespace norv::internal
