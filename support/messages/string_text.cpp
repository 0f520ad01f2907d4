#include "support/messages/string_text.h"

#include <cstddef>

#include "support/printable_text.h"

namespace norv::internal {
namespace {

/// Length of the character that a byte begins in UTF-8, if it begins one.
std::size_t lengthOf(char first) {
  const auto byte = static_cast<unsigned char>(first);
  if (byte < 0xc0) return 1;
  if (byte < 0xe0) return 2;
  return byte < 0xf0 ? 3 : 4;
}

/// "\ooo": always three digits, so that a digit may follow.
std::string octal(char c) {
  const auto byte = static_cast<unsigned>(static_cast<unsigned char>(c));
  std::string text = "\\";
  for (const unsigned shift : {6U, 3U, 0U}) text += static_cast<char>('0' + ((byte >> shift) & 7U));
  return text;
}

std::string escapeByte(char c) {
  switch (c) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    case '"':
      return "\\\"";
    case '\\':
      return "\\\\";
    default:
      return octal(c);
  }
}

bool isSafe(std::string_view character) {
  return character != "\"" && character != "\\" && toPrintable(character) == character;
}

}  // namespace

std::string quoteString(std::string_view bytes) {
  std::string text = "\"";
  while (!bytes.empty()) {
    std::string_view character = bytes.substr(0, lengthOf(bytes.front()));
    if (isSafe(character)) {
      text += character;
    } else {
      character = bytes.substr(0, 1);
      text += escapeByte(character.front());
    }
    bytes.remove_prefix(character.size());
  }
  return text + "\"";
}

}  // namespace norv::internal
