#pragma once

/// Where the head must go, and what the answer is worth.

#include "calibration_common/ptz_camera_model.h"
#include "tools/aim/aim.h"

namespace norv::tools {

/// Points the camera as the library does. A pixel is taken as a point 1 m away, a box as the sum of
/// the unit rays of its corners.
///
/// Not reached is what has no solution; what the solution, or the motors' limits, leave behind the
/// camera or far outside of its picture; what the limits move by more than a pixel; a zoom position
/// at which the lens is not known; and a box that even the widest lens does not show, or of which a
/// corner is seen by no ray.
///
/// Throws ToolError, without the name of the file, for a question that cannot be asked: a pixel
/// that no ray reaches, a zoom position now at which the lens is not known, motors that do not
/// turn.
Aim findAim(const calibration::PTZCameraModelPtr& model, const AimRequest& request);

}  // namespace norv::tools
