#pragma once

#include <optional>
#include <string>
#include <vector>

#include "interop/calibration_export.h"
#include "tools/input/image_size.h"
#include "tools/input/pose_numbers.h"

namespace norv::tools {

/// What the verb `export` is asked for.
struct ExportVerbOptions {
  std::string path;
  std::string output_path;  ///< of COLMAP a folder, or cameras.txt alone where it ends in .txt
  std::optional<interop::PeerFormat> format;       ///< never missing once the arguments are read
  std::vector<std::string> cameras;                ///< all where there is none
  std::optional<ImageSize> size;                   ///< the full frame without it
  std::optional<calibration::PixelOrigin> origin;  ///< the format's own without it
  std::optional<std::string> syntax;               ///< that of the output's extension without it
  std::optional<std::string> distortion_model;     ///< of ROS
  std::optional<std::string> parent;               ///< the robot's frame without it
  std::optional<PoseNumbers> parent_from_robot;
  double max_error = 0.1;
};

}  // namespace norv::tools
