#pragma once

#include <optional>
#include <string>

#include "calibration_common/ptz_camera_model.h"
#include "tools/calibration_input.h"

namespace norv::tools {

/// Builds the model of a pan-tilt-zoom camera, without a line in the log. Throws ToolError, with
/// the field that is amiss and its place, when it is not valid.
calibration::PTZCameraModelPtr loadPtz(const CalibrationInput& input,
                                       const calibration::PTZCameraParameters& params);

/// How the closed form that starts the pointing computation fits a head.
struct HeadGeometry {
  double azimuth;    ///< of the optical axis at zero tilt, in the pan frame, radians
  double elevation;  ///< the same axis above the plane of pan, radians
  double axis_gap;   ///< distance of the optical axis from the pan axis at zero tilt, metres
};

HeadGeometry describeHead(const calibration::PanTiltModel& head);

}  // namespace norv::tools
