#include "interop/formats/colmap_words.h"

#include <charconv>
#include <system_error>

#include "interop/syntax/fields.h"

namespace norv::interop {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

}  // namespace

void refuse(const ColmapWord& word, const std::string& sentence) {
  throw FormatError(word.place, std::string(word.key), sentence);
}

double numberOf(const ColmapWord& word) {
  return parseNumber(std::string(word.text), word.place, std::string(word.key));
}

int sideOf(const ColmapWord& word) {
  Node node;
  node.kind = Node::Kind::kScalar;
  node.place = word.place;
  node.text = word.text;
  return integerOf({&node, std::string(word.key)}, 1, kMaxSide);
}

std::uint32_t identityOf(const ColmapWord& word) {
  std::uint32_t value = 0;
  const char* const end = word.text.data() + word.text.size();
  const auto [stop, error] = std::from_chars(word.text.data(), end, value);
  if (stop != end || error != std::errc()) {
    refuse(word, "is not a whole number from 0 to 4294967295: " + std::string(word.text));
  }
  return value;
}

ColmapWord ColmapLine::take(std::string_view key) {
  if (isAtEnd()) throw FormatError(place(), std::string(key), "is missing");
  const std::size_t begin = at_;
  const Place begin_place = place();
  while (!isAtEnd() && !isBlank(text_[at_])) ++at_;
  const ColmapWord word = {text_.substr(begin, at_ - begin), begin_place, key};
  skipBlanks();
  return word;
}

std::string_view ColmapLine::rest() const {
  std::size_t end = text_.size();
  while (end > at_ && isBlank(text_[end - 1])) --end;
  return text_.substr(at_, end - at_);
}

void ColmapLine::skipBlanks() {
  while (!isAtEnd() && isBlank(text_[at_])) ++at_;
}

ColmapLines::ColmapLines(std::string_view text) : text_(text) {
  if (text_.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text_.remove_prefix(kByteOrderMark.size());
  }
}

std::optional<ColmapLine> ColmapLines::take() {
  if (at_ == text_.size()) return std::nullopt;
  const std::size_t found = text_.find('\n', at_);
  const std::size_t end = found == std::string_view::npos ? text_.size() : found;
  const ColmapLine line(text_.substr(at_, end - at_), ++number_);
  at_ = found == std::string_view::npos ? end : end + 1;
  return line;
}

std::optional<ColmapLine> ColmapLines::takeFilled() {
  for (;;) {
    for (; at_ < text_.size() && text_[at_] == '\n'; ++at_) ++number_;
    const std::optional<ColmapLine> line = take();
    if (!line || (!line->isAtEnd() && line->rest().front() != '#')) return line;
  }
}

}  // namespace norv::interop
