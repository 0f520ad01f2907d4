#include "interop/syntax/source_places.h"

#include <algorithm>

namespace norv::interop {

SourcePlaces::SourcePlaces(const std::string& text) : text_(text), begins_{0} {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n') begins_.push_back(i + 1);
  }
}

Place SourcePlaces::find(int line, std::string_view piece) {
  const auto index = static_cast<std::size_t>(std::max(line, 1)) - 1;
  if (is_lost_ || index >= begins_.size()) return {line, 0};
  const std::size_t begin = begins_[index];
  const std::size_t end = index + 1 < begins_.size() ? begins_[index + 1] : text_.size();
  const std::size_t from = std::max(begin, cursor_);
  const std::size_t found =
      from < end ? text_.substr(from, end - from).find(piece) : std::string_view::npos;
  if (found == std::string_view::npos) {
    is_lost_ = true;  // a search of the same line again and again would take its length each time
    return {line, 0};
  }
  cursor_ = from + found + piece.size();
  return {line, static_cast<int>(from + found - begin) + 1};
}

}  // namespace norv::interop
