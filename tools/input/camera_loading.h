#pragma once

#include <memory>
#include <vector>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "tools/input/calibration_input.h"

namespace norv::tools {

/// Loads entry `index` of a robot calibration. Throws ToolError, with the field that is wrong and
/// its place, when the library does not load it.
std::unique_ptr<calibration::CameraParameters> loadCamera(
    const CalibrationInput& input, int index, const calibration::CameraCalibration& calibration);

/// Loads a base calibration. Throws in the same way.
std::unique_ptr<calibration::BaseCalibrationData> loadBase(
    const CalibrationInput& input, const calibration::BaseCalibrationProto& base);

}  // namespace norv::tools
