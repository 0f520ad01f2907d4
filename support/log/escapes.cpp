#include "support/log/escapes.h"

#include <cstdint>

namespace norv::internal {
namespace {

/// The leading bytes from `first` to `last` announce `size` bytes, of which the second lies in
/// [min_second, max_second] and the later ones in [0x80, 0xbf].
struct Utf8Row {
  unsigned char first;
  unsigned char last;
  std::size_t size;
  unsigned char min_second;
  unsigned char max_second;
};

/// Well-formed sequences of more than one byte, as table 3-7 of the Unicode Standard has them: no
/// overlong ones, no surrogates, nothing beyond U+10FFFF.
constexpr std::array<Utf8Row, 8> kUtf8Rows = {{{0xc2, 0xdf, 2, 0x80, 0xbf},
                                               {0xe0, 0xe0, 3, 0xa0, 0xbf},
                                               {0xe1, 0xec, 3, 0x80, 0xbf},
                                               {0xed, 0xed, 3, 0x80, 0x9f},
                                               {0xee, 0xef, 3, 0x80, 0xbf},
                                               {0xf0, 0xf0, 4, 0x90, 0xbf},
                                               {0xf1, 0xf3, 4, 0x80, 0xbf},
                                               {0xf4, 0xf4, 4, 0x80, 0x8f}}};

unsigned char byteAt(std::string_view text, std::size_t i) {
  return static_cast<unsigned char>(text[i]);
}

bool isWellFormed(std::string_view text, const Utf8Row& row) {
  if (text.size() < row.size) return false;
  if (byteAt(text, 1) < row.min_second || byteAt(text, 1) > row.max_second) return false;
  for (std::size_t i = 2; i < row.size; ++i) {
    if ((byteAt(text, i) & 0xc0U) != 0x80) return false;
  }
  return true;
}

/// Bytes of the well-formed sequence of several bytes that `text` begins with; 0 if there is none.
std::size_t sequenceSize(std::string_view text) {
  const unsigned char lead = byteAt(text, 0);
  for (const Utf8Row& row : kUtf8Rows) {
    if (row.first <= lead && lead <= row.last) return isWellFormed(text, row) ? row.size : 0;
  }
  return 0;
}

/// Code point of a well-formed sequence of two bytes or more.
std::uint32_t codePoint(std::string_view sequence) {
  std::uint32_t code = byteAt(sequence, 0) & (0xffU >> (sequence.size() + 1));
  for (std::size_t i = 1; i < sequence.size(); ++i) {
    code = code << 6 | (byteAt(sequence, i) & 0x3fU);
  }
  return code;
}

/// Whether a character beyond ASCII acts on the terminal or on the order of the line.
bool misleads(std::uint32_t code) {
  const bool is_c1_control = code <= 0x9f;
  const bool is_directional_mark = code == 0x061c || code == 0x200e || code == 0x200f;
  const bool breaks_line = code == 0x2028 || code == 0x2029;
  const bool embeds_or_overrides = code >= 0x202a && code <= 0x202e;
  const bool isolates = code >= 0x2066 && code <= 0x2069;
  return is_c1_control || is_directional_mark || breaks_line || embeds_or_overrides || isolates;
}

}  // namespace

LeadingCharacter leadingCharacter(std::string_view text) {
  const unsigned char lead = byteAt(text, 0);
  if (lead < 0x80) return {1, lead >= 0x20 && lead != 0x7f};
  const std::size_t size = sequenceSize(text);
  if (size == 0) return {1, false};
  return {size, !misleads(codePoint(text.substr(0, size)))};
}

Escape escapeOf(char byte) {
  if (byte == '\n') return {{'\\', 'n'}, 2};
  constexpr std::string_view kDigits = "0123456789abcdef";
  const auto value = static_cast<unsigned char>(byte);
  return {{'\\', 'x', kDigits[value >> 4U], kDigits[value & 0xfU]}, 4};
}

}  // namespace norv::internal
