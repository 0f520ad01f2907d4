#pragma once

/// Lines of words, as COLMAP's text files are made of, read without copying them.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "interop/format_problem.h"

namespace norv::interop {

/// A word, where it stands, and what it is called in messages.
struct ColmapWord {
  std::string_view text;
  Place place;
  std::string_view key;
};

/// FormatError of a word.
[[noreturn]] void refuse(const ColmapWord& word, const std::string& sentence);

/// The number that a word is; refused where it is none or not of the range of double.
double numberOf(const ColmapWord& word);

/// A picture's width or height, from 1 to `kMaxSide`.
int sideOf(const ColmapWord& word);

/// The number of a camera or an image, from 0 to 2^32 - 1.
std::uint32_t identityOf(const ColmapWord& word);

/// A line's words from left to right, with blanks and tabs between them.
class ColmapLine {
 public:
  /// `text` is without its break, `number` counted from 1.
  ColmapLine(std::string_view text, int number) : text_(text), number_(number) { skipBlanks(); }

  bool isAtEnd() const { return at_ == text_.size(); }

  /// Where the next word stands.
  Place place() const { return {number_, static_cast<int>(at_) + 1}; }

  /// The next word, which is called `key`; refused where there is none.
  ColmapWord take(std::string_view key);

  /// All that is left, without blanks at its ends.
  std::string_view rest() const;

 private:
  void skipBlanks();

  std::string_view text_;
  int number_;
  std::size_t at_ = 0;
};

/// A text's lines from first to last.
class ColmapLines {
 public:
  /// `text` must outlive this and its lines. A byte order mark is left out.
  explicit ColmapLines(std::string_view text);

  /// The next line, without its break; none at the end.
  std::optional<ColmapLine> take();

  /// The next line that is neither empty nor a comment.
  std::optional<ColmapLine> takeFilled();

 private:
  std::string_view text_;
  std::size_t at_ = 0;
  int number_ = 0;
};

}  // namespace norv::interop
