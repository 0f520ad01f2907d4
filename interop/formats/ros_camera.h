#pragma once

/// What both syntaxes of ROS say of a camera.

#include <optional>
#include <string>

#include "interop/formats/matrix_fields.h"

namespace norv::interop {

/// As they stand in a file, whose tree must outlive this.
struct RosNumbers {
  std::string name;
  calibration::PixelSize size;
  NumberList camera_matrix;  ///< 9 numbers
  std::string model;         ///< what the file says, or implies
  NumberList coefficients;
  std::optional<NumberList> rectification;  ///< 9 numbers
  std::optional<NumberList> projection;     ///< 12 numbers
};

/// The names of the lens models that are read.
inline constexpr const char* kRosPlumbBob = "plumb_bob";
inline constexpr const char* kRosRational = "rational_polynomial";

/// The camera, with the list of what describes the rectified image. Throws FormatError.
PeerFile fileOfRosNumbers(const RosNumbers& numbers, calibration::PixelOrigin origin);

/// The camera of a text that has the look of INI. Throws FormatError.
PeerFile readRosIni(const std::string& text, calibration::PixelOrigin origin);

/// Whether the text's first line that is neither empty nor a comment is one of INI.
bool isRosIni(const std::string& text);

}  // namespace norv::interop
