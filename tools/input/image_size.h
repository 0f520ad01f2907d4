#pragma once

#include <optional>
#include <string>

namespace norv::tools {

struct ImageSize {
  int width;
  int height;
};

/// Pixels. No camera has more; a slip of the finger may.
inline constexpr int kMaxImageSide = 65535;

/// "640x480", with an X or a multiplication sign too; nullopt for anything else. Sides are 1 to
/// `max_side`, which is at most `kMaxImageSide`.
std::optional<ImageSize> parseImageSize(const std::string& text, int max_side = kMaxImageSide);

}  // namespace norv::tools
