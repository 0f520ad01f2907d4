#pragma once

#include <string>

#include "support/matrix_types.h"

namespace norv::tools {

/// "(0.1200, 0.0000, 1.2500)".
std::string vectorText(const Vector3_f& vector);

/// The upper three rows of a pose in metres, indented, each with the digits that single precision
/// needs and a line break.
std::string poseTable(const Matrix4x4_f& pose);

}  // namespace norv::tools
