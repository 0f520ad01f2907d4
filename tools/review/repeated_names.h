#pragma once

#include <set>
#include <string>

#include "proto/norv_robot_calibration.pb.h"

namespace norv::tools {

/// The names that more than one camera has, sorted.
std::set<std::string> findRepeatedNames(const calibration::RobotCalibration& robot);

}  // namespace norv::tools
