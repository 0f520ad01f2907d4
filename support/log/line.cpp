#include "support/log/line.h"

#include <array>
#include <atomic>
#include <new>

#include "support/log/text.h"

namespace norv::internal {
namespace {

/// Lines longer than this are not worth keeping the memory of.
constexpr std::size_t kMaxKeptText = std::size_t{16} * 1024;

/// Lines kept for later statements. They belong to no thread, for a thread's own would have to be
/// destroyed at its end, and registering that ends the process where memory has run out. They
/// outlive the program's objects, whose destructors log too.
constexpr std::size_t kMaxKeptLines = 4;
std::array<std::atomic<LogLineStream*>, kMaxKeptLines> kept_lines{};

}  // namespace

void LineBuffer::take(std::string* text) noexcept {
  try {
    if (!is_dropped_) moveTo(text);
  } catch (const std::bad_alloc&) {
    drop();
  }
  if (is_dropped_) *text = kDroppedText;
  is_dropped_ = false;
  setp(first_, first_ + sizeof(first_));
}

void LineBuffer::moveTo(std::string* text) {
  if (rest_.empty()) {
    text->assign(pbase(), pptr());
  } else {
    rest_.append(pbase(), pptr());
    text->swap(rest_);
    rest_.clear();
  }
}

void LineBuffer::drop() {
  std::string().swap(rest_);
  is_dropped_ = true;
}

LineBuffer::int_type LineBuffer::overflow(int_type c) {
  if (is_dropped_) return traits_type::eof();
  try {
    rest_.append(pbase(), pptr());
  } catch (const std::bad_alloc&) {
    drop();
    return traits_type::eof();
  }
  setp(first_, first_ + sizeof(first_));
  if (!traits_type::eq_int_type(c, traits_type::eof())) sputc(traits_type::to_char_type(c));
  return traits_type::not_eof(c);
}

bool LogLineStream::reset() {
  if (stream_.getloc() != std::locale::classic() || stream_.exceptions() != std::ios::goodbit ||
      record_.text.capacity() > kMaxKeptText) {
    return false;
  }
  stream_.clear();
  stream_.flags(std::ios::skipws | std::ios::dec);
  stream_.precision(6);
  stream_.width(0);
  stream_.fill(' ');
  return true;
}

std::unique_ptr<LogLineStream> takeLine() noexcept {
  for (std::atomic<LogLineStream*>& kept : kept_lines) {
    LogLineStream* const line = kept.exchange(nullptr, std::memory_order_acquire);
    if (line != nullptr) return std::unique_ptr<LogLineStream>(line);
  }
  try {
    return std::make_unique<LogLineStream>();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void giveBackLine(std::unique_ptr<LogLineStream> line) noexcept {
  if (line == nullptr || !line->reset()) return;
  for (std::atomic<LogLineStream*>& kept : kept_lines) {
    LogLineStream* none = nullptr;
    if (kept.compare_exchange_strong(none, line.get(), std::memory_order_acq_rel)) {
      static_cast<void>(line.release());
      return;
    }
  }
}

}  // namespace norv::internal
