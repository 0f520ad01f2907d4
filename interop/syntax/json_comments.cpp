#include "interop/syntax/json_comments.h"

#include <algorithm>
#include <cstddef>

namespace norv::interop {
namespace {

/// Past the string whose opening quote stands at `at`.
std::size_t endOfString(const std::string& text, std::size_t at) {
  for (++at; at < text.size() && text[at] != '"'; ++at) {
    if (text[at] == '\\') ++at;
  }
  return at + 1;
}

/// Past the comment that begins at `at`; `at` where none does; npos where it has no end.
std::size_t endOfComment(const std::string& text, std::size_t at) {
  if (text.compare(at, 2, "//") == 0) return std::min(text.find_first_of("\r\n", at), text.size());
  if (text.compare(at, 2, "/*") != 0) return at;
  const std::size_t end = text.find("*/", at + 2);
  return end == std::string::npos ? end : end + 2;
}

}  // namespace

std::string withoutJsonComments(std::string text) {
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] == '"') {
      at = endOfString(text, at);
      continue;
    }
    const std::size_t end = endOfComment(text, at);
    if (end == std::string::npos) break;
    for (std::size_t i = at; i < end; ++i) {
      if (text[i] != '\n' && text[i] != '\r') text[i] = ' ';
    }
    at = std::max(end, at + 1);
  }
  return text;
}

}  // namespace norv::interop
