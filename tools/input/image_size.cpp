#include "tools/input/image_size.h"

#include <charconv>
#include <cstddef>
#include <system_error>

namespace norv::tools {
namespace {

/// Reads a side from the beginning of `text` and takes it off; nullopt when there is none.
std::optional<int> takeSide(std::string* text, int max_side) {
  int side = 0;
  const char* const end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, side);
  if (error != std::errc() || side < 1 || side > max_side) return std::nullopt;
  text->erase(0, static_cast<std::size_t>(stop - text->data()));
  return side;
}

bool takeCross(std::string* text) {
  for (const std::string cross : {"x", "X", "\xc3\x97"}) {
    if (text->compare(0, cross.size(), cross) != 0) continue;
    text->erase(0, cross.size());
    return true;
  }
  return false;
}

}  // namespace

std::optional<ImageSize> parseImageSize(const std::string& text, int max_side) {
  std::string rest = text;
  const std::optional<int> width = takeSide(&rest, max_side);
  if (!width || !takeCross(&rest)) return std::nullopt;
  const std::optional<int> height = takeSide(&rest, max_side);
  if (!height || !rest.empty()) return std::nullopt;
  return ImageSize{*width, *height};
}

}  // namespace norv::tools
