#pragma once

#include <string>

#include "proto/norv_robot_calibration.pb.h"
#include "tools/input/calibration_input.h"

namespace norv::tools {

/// The names of a calibration's cameras as a user reads them: "a, b", the first twenty of many;
/// "none" where there are none.
std::string listCameras(const calibration::RobotCalibration& robot);

/// Throws ToolError: there is no camera of that name. Says which there are and which was probably
/// meant.
[[noreturn]] void refuseCamera(const CalibrationInput& input,
                               const calibration::RobotCalibration& robot, const std::string& name);

}  // namespace norv::tools
