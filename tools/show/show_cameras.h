#pragma once

#include <string>

#include "proto/norv_robot_calibration.pb.h"
#include "tools/input/calibration_input.h"
#include "tools/show/show_options.h"

namespace norv::tools {

/// The cameras of a robot calibration, as a table or as JSON. Throws ToolError when one of them
/// would not load or the camera that is asked for is not there.
std::string showCameras(const CalibrationInput& input, const calibration::RobotCalibration& robot,
                        const ShowOptions& options);

}  // namespace norv::tools
