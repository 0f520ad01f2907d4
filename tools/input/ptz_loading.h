#pragma once

#include "calibration_common/ptz_camera_model.h"
#include "tools/input/calibration_input.h"

namespace norv::tools {

/// Builds the model of a pan-tilt-zoom camera, without a line in the log. Throws ToolError, with
/// the field that is wrong and its place, when it is not valid.
calibration::PTZCameraModelPtr loadPtz(const CalibrationInput& input,
                                       const calibration::PTZCameraParameters& params);

}  // namespace norv::tools
