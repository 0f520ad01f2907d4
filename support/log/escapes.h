#pragma once

/// Which bytes of a text may reach a terminal as they are, and how the others are written there.

#include <array>
#include <cstddef>
#include <string_view>

namespace norv::internal {

/// The character that a text begins with.
struct LeadingCharacter {
  std::size_t size;  ///< in bytes; 1 for a byte that is not part of well-formed UTF-8
  bool shown;        ///< as it is; otherwise each of its bytes is escaped
};

/// Decodes the first character of `text`, which is not empty. Shown are the characters of
/// well-formed UTF-8 (Unicode, table 3-7) that neither control a terminal nor reorder or break the
/// line: toPrintable (support/printable_text.h) lists those that do.
LeadingCharacter leadingCharacter(std::string_view text);

/// The largest number of characters that one byte is written as.
inline constexpr std::size_t kMaxEscapeSize = 4;

/// An escaped byte.
struct Escape {
  std::array<char, kMaxEscapeSize> characters;
  std::size_t size;

  std::string_view view() const { return {characters.data(), size}; }
};

/// "\n" for a line break, "\x1b" with the byte's own two digits for the rest.
Escape escapeOf(char byte);

/// Calls `append(std::string_view)` with the pieces of `text` in their printable form, in order.
/// Allocates nothing itself.
template <class Append>
void appendPrintable(std::string_view text, const Append& append) {
  while (!text.empty()) {
    const LeadingCharacter character = leadingCharacter(text);
    const std::string_view bytes = text.substr(0, character.size);
    if (character.shown) {
      append(bytes);
    } else {
      for (const char byte : bytes) append(escapeOf(byte).view());
    }
    text.remove_prefix(character.size);
  }
}

}  // namespace norv::internal
