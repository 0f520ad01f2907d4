#pragma once

/// What a Python literal is made of, below its brackets: blanks, comments, strings and words.

#include <cstddef>
#include <string>
#include <string_view>

#include "interop/format_problem.h"

namespace norv::interop {

/// A text that is read from its begin to its end. Places are kept along.
class LiteralText {
 public:
  /// `text` must outlive this. A byte order mark is left out.
  explicit LiteralText(std::string_view text);

  /// Goes on to what is no blank, no end of a line and no comment.
  void skipBlanks();

  bool isAtEnd() const { return at_ == text_.size(); }

  /// Where the next character stands.
  Place place() const { return {line_, static_cast<int>(at_ - line_start_) + 1}; }

  /// The next character; '\0' at the end.
  char peek() const { return isAtEnd() ? '\0' : text_[at_]; }

  /// Goes past the next character if it is this one.
  bool take(char c);

  /// Whether a string comes next, with its letters before the quote.
  bool isAtString() const { return lengthOfPrefix() != std::string::npos; }

  /// The contents of the string that comes next, without its quotes and with its escapes resolved:
  /// UTF-8, or the bytes of a byte string. Throws FormatError at the string where it has no end,
  /// and for an escape that cannot be resolved.
  std::string takeString();

  /// The number or name that comes next; empty where there is none.
  std::string takeWord();

 private:
  /// How many letters stand before the quote of a string that comes next; npos where there is none.
  std::size_t lengthOfPrefix() const;

  void advance();

  /// Resolves the escape whose backslash was passed.
  void takeEscape(bool is_bytes, std::string* out);

  /// As many hexadecimal digits, exactly.
  unsigned long takeHexadecimal(int digits);

  /// Up to three octal ones.
  unsigned long takeOctal();

  std::string_view text_;
  std::size_t at_ = 0;
  int line_ = 1;
  std::size_t line_start_ = 0;
};

}  // namespace norv::interop
