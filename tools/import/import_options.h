#pragma once

#include <optional>
#include <string>
#include <vector>

#include "interop/calibration_import.h"
#include "tools/input/image_size.h"
#include "tools/input/pose_numbers.h"

namespace norv::tools {

/// What the verb `import` is asked for: an output or a calibration to put the cameras into.
struct ImportVerbOptions {
  std::vector<std::string> paths;
  std::optional<std::string> output_path;
  std::optional<std::string> into_path;
  bool text = false;
  bool binary = false;
  bool backup = false;
  std::optional<std::string> parent;  ///< "robot", or any other frame with `parent_from_robot`
  std::optional<PoseNumbers> parent_from_robot;
  std::optional<PoseNumbers> extrinsics;
  std::optional<std::string> extrinsics_of;  ///< FILE:CAMERA
  std::optional<ImageSize> size;
  interop::ImportOptions wanted;  ///< what the options above do not say
  bool strict = false;
  bool force = false;
  std::optional<std::string> check_path;
  std::optional<calibration::PixelOrigin> check_origin;  ///< without it the image's corner
};

}  // namespace norv::tools
