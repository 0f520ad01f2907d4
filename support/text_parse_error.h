#pragma once

/// What a reader of texts says where it fails. See docs/conventions.md for what it reads.

#include <string>

namespace norv {

/// Where and why a text could not be parsed.
struct TextParseError {
  int line = 0;    ///< counted from 1; 0 when the error has no place in the text
  int column = 0;  ///< counted from 1
  std::string message;
};

}  // namespace norv
