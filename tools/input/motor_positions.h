#pragma once

/// Motor positions that a head cannot be at, or at which the lens is a guess.

#include <string>
#include <vector>

#include "calibration_common/ptz_camera_model.h"

namespace norv::tools {

/// What is odd about where the motors are said to be, a sentence each: a motor beyond the range
/// that the calibration states, a zoom position whose lens is extrapolated. Empty where nothing is.
std::vector<std::string> explainPositions(
    const calibration::PTZCameraModelConfiguration& configuration);

}  // namespace norv::tools
