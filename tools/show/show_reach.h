#pragma once

#include <string>

#include "calibration_common/ptz_camera_model.h"
#include "tools/output/json_output.h"

namespace norv::tools {

/// What the optical axis of a pan-tilt-zoom camera comes to, five metres away, and the cones about
/// the pan axis that it never does. The head's poses have to be rotations.
std::string reachText(const calibration::PTZCameraModel& model);

/// The same as an object.
json reachJson(const calibration::PTZCameraModel& model);

}  // namespace norv::tools
