#include "tools/input/text_comments.h"

#include <cstddef>

namespace norv::tools {

bool hasComment(const std::string& text) {
  char quote = '\0';
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quote == '\0' && c == '#') return true;
    if (quote != '\0' && c == '\\') {
      ++i;
    } else if (c == quote || c == '\n') {
      quote = '\0';
    } else if (quote == '\0' && (c == '"' || c == '\'')) {
      quote = c;
    }
  }
  return false;
}

}  // namespace norv::tools
