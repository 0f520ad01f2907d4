#pragma once

/// What was done to a picture after the camera delivered it.

#include <optional>
#include <string>

#include "calibration_common/camera_view.h"
#include "tools/input/image_size.h"

namespace norv::tools {

/// A rectangle of a picture by its top left corner and size, pixels.
struct Crop {
  int x;
  int y;
  ImageSize size;
};

/// Pixels that are summed to one.
struct Bin {
  int columns;
  int rows;
};

struct Flip {
  bool horizontally;
  bool vertically;
};

/// In the order in which they are taken.
struct PictureSteps {
  std::optional<Crop> cropped;
  std::optional<Bin> binned;
  std::optional<ImageSize> resized;
  std::optional<Flip> flipped;
};

/// "X,Y,WxH"; nullopt for anything else. Whether the rectangle is in a picture is not known here.
std::optional<Crop> parseCrop(const std::string& text);

/// "CxR"; nullopt for anything else.
std::optional<Bin> parseBin(const std::string& text);

/// "h", "v" or "hv"; nullopt for anything else.
std::optional<Flip> parseFlip(const std::string& text);

/// The view of the picture after the steps. Throws UsageError, which names `source`, where a step
/// cannot be taken with the picture that it gets.
calibration::CameraView takeSteps(const calibration::CameraView& delivered,
                                  const PictureSteps& steps, const std::string& source);

}  // namespace norv::tools
