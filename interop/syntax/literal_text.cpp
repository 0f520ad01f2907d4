#include "interop/syntax/literal_text.h"

#include <algorithm>

namespace norv::interop {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Escapes of one character, and what they stand for.
constexpr std::string_view kEscapes = "\\'\"abfnrtv";
constexpr std::string_view kEscaped = "\\'\"\a\b\f\n\r\t\v";

bool isWordCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
         c == '.' || c == '+' || c == '-';
}

char toLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// The digit's value; 16 for what is none.
unsigned long digitOf(char c) {
  const std::string_view digits = "0123456789abcdef";
  return static_cast<unsigned long>(std::min(digits.find(toLower(c)), digits.size()));
}

void appendUtf8(unsigned long code, std::string* out) {
  const auto tail = [&](int shift) { *out += static_cast<char>(0x80 | ((code >> shift) & 0x3F)); };
  if (code < 0x80) {
    *out += static_cast<char>(code);
  } else if (code < 0x800) {
    *out += static_cast<char>(0xC0 | (code >> 6));
    tail(0);
  } else if (code < 0x10000) {
    *out += static_cast<char>(0xE0 | (code >> 12));
    tail(6);
    tail(0);
  } else {
    *out += static_cast<char>(0xF0 | (code >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

}  // namespace

LiteralText::LiteralText(std::string_view text) : text_(text) {
  if (text_.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text_.remove_prefix(kByteOrderMark.size());
  }
}

void LiteralText::advance() {
  if (text_[at_] == '\n') {
    ++line_;
    line_start_ = at_ + 1;
  }
  ++at_;
}

bool LiteralText::take(char c) {
  if (isAtEnd() || text_[at_] != c) return false;
  advance();
  return true;
}

void LiteralText::skipBlanks() {
  while (!isAtEnd()) {
    const char c = text_[at_];
    if (c == '#') {
      at_ = std::min(text_.find('\n', at_), text_.size());
    } else if (c == ' ' || c == '\t' || c == '\f' || c == '\r' || c == '\n') {
      advance();
    } else {
      return;
    }
  }
}

std::size_t LiteralText::lengthOfPrefix() const {
  constexpr std::size_t kMaxLetters = 2;
  std::size_t letters = 0;
  while (at_ + letters < text_.size() && letters <= kMaxLetters) {
    const char c = toLower(text_[at_ + letters]);
    if (c == '\'' || c == '"') return letters;
    if (c != 'b' && c != 'r' && c != 'u') break;
    ++letters;
  }
  return std::string::npos;
}

std::string LiteralText::takeString() {
  const Place begin = place();
  const std::string_view prefix = text_.substr(at_, lengthOfPrefix());
  const bool is_bytes = prefix.find_first_of("bB") != std::string_view::npos;
  const bool is_raw = prefix.find_first_of("rR") != std::string_view::npos;
  at_ += prefix.size();
  const char quote = text_[at_];
  const std::string three(3, quote);
  const bool is_long = text_.substr(at_, 3) == three;
  at_ += is_long ? 3 : 1;
  std::string out;
  while (!isAtEnd() && (is_long || text_[at_] != '\n')) {
    if (text_.substr(at_, is_long ? 3 : 1) == std::string_view(three).substr(0, is_long ? 3 : 1)) {
      at_ += is_long ? 3 : 1;
      return out;
    }
    const char c = text_[at_];
    advance();
    if (c != '\\') {
      out += c;
    } else if (is_raw) {
      out += c;
      if (!isAtEnd()) {
        out += peek();
        advance();
      }
    } else {
      takeEscape(is_bytes, &out);
    }
  }
  throw FormatError(begin, "", "a string without an end");
}

void LiteralText::takeEscape(bool is_bytes, std::string* out) {
  if (isAtEnd()) return;
  const Place begin = place();
  const char c = text_[at_];
  if (digitOf(c) < 8) {
    const unsigned long code = takeOctal();
    is_bytes ? out->push_back(static_cast<char>(code)) : appendUtf8(code, out);
    return;
  }
  advance();
  if (c == '\n' || (c == '\r' && take('\n'))) return;
  const std::size_t known = kEscapes.find(c);
  if (known != std::string_view::npos) {
    *out += kEscaped[known];
  } else if (c == 'x') {
    const unsigned long code = takeHexadecimal(2);
    is_bytes ? out->push_back(static_cast<char>(code)) : appendUtf8(code, out);
  } else if (!is_bytes && (c == 'u' || c == 'U')) {
    const unsigned long code = takeHexadecimal(c == 'u' ? 4 : 8);
    if (code > 0x10FFFF) throw FormatError(begin, "", "an escape that stands for no character");
    appendUtf8(code, out);
  } else if (!is_bytes && c == 'N') {
    throw FormatError(begin, "", "an escape by the name of a character, which is not read");
  } else {  // Python keeps what it does not know
    *out += '\\';
    *out += c;
  }
}

unsigned long LiteralText::takeHexadecimal(int digits) {
  unsigned long code = 0;
  for (int i = 0; i < digits; ++i) {
    if (digitOf(peek()) > 15) throw FormatError(place(), "", "an escape with too few digits");
    code = code * 16 + digitOf(peek());
    ++at_;
  }
  return code;
}

unsigned long LiteralText::takeOctal() {
  unsigned long code = 0;
  for (int i = 0; i < 3 && digitOf(peek()) < 8; ++i) {
    code = code * 8 + digitOf(peek());
    ++at_;
  }
  return code;
}

std::string LiteralText::takeWord() {
  std::size_t end = at_;
  while (end < text_.size() && isWordCharacter(text_[end])) ++end;
  std::string word(text_.substr(at_, end - at_));
  at_ = end;
  return word;
}

}  // namespace norv::interop
