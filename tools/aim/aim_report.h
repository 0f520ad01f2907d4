#pragma once

#include <string>

#include "calibration_common/ptz_camera_model.h"
#include "tools/aim/aim.h"

namespace norv::tools {

/// What `findAim` found with a model, for people.
std::string aimText(const calibration::PTZCameraModel& model, const Aim& aim,
                    const AimRequest& request);

/// The same for programs. Motor positions and what follows from them are null without a solution.
std::string aimJson(const calibration::PTZCameraModel& model, const Aim& aim);

}  // namespace norv::tools
