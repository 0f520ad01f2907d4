#include "tools/view/picture_steps.h"

#include <fmt/format.h>

#include <cstddef>

#include "tools/input/number_list.h"
#include "tools/tool_error.h"

namespace norv::tools {

using calibration::CameraView;

namespace {

CameraView crop(const CameraView& view, const Crop& to, const std::string& source) {
  if (const auto part = view.cropped(to.x, to.y, to.size.width, to.size.height)) return *part;
  throw UsageError(
      fmt::format("{}: --cropped {},{},{}x{} is not within the picture, which is {}x{}", source,
                  to.x, to.y, to.size.width, to.size.height, view.width(), view.height()));
}

CameraView bin(const CameraView& view, const Bin& by, const std::string& source) {
  if (const auto binned = view.binned(by.columns, by.rows)) return *binned;
  throw UsageError(fmt::format("{}: --binned {}x{} leaves no pixel of the picture, which is {}x{}",
                               source, by.columns, by.rows, view.width(), view.height()));
}

}  // namespace

std::optional<Crop> parseCrop(const std::string& text) {
  const std::size_t comma = text.rfind(',');
  if (comma == std::string::npos) return std::nullopt;
  const auto corner = parseIntegers<2>(text.substr(0, comma));
  const std::optional<ImageSize> size = parseImageSize(text.substr(comma + 1));
  if (!corner || !size) return std::nullopt;
  return Crop{(*corner)[0], (*corner)[1], *size};
}

std::optional<Bin> parseBin(const std::string& text) {
  const std::optional<ImageSize> block = parseImageSize(text);
  if (!block) return std::nullopt;
  return Bin{block->width, block->height};
}

std::optional<Flip> parseFlip(const std::string& text) {
  if (text == "h") return Flip{true, false};
  if (text == "v") return Flip{false, true};
  if (text == "hv") return Flip{true, true};
  return std::nullopt;
}

CameraView takeSteps(const CameraView& delivered, const PictureSteps& steps,
                     const std::string& source) {
  CameraView view = delivered;
  if (steps.cropped) view = crop(view, *steps.cropped, source);
  if (steps.binned) view = bin(view, *steps.binned, source);
  // A picture that has pixels can be scaled to any.
  if (steps.resized) view = view.resized(steps.resized->width, steps.resized->height).value();
  if (steps.flipped) view = view.flipped(steps.flipped->horizontally, steps.flipped->vertically);
  return view;
}

}  // namespace norv::tools
