#pragma once

#include "calibration_common/pan_tilt_solver.h"
#include "support/matrix_types.h"

namespace norv::internal {

/// camera_from_base of a head at two angles of its joints, radians: the product is formed in single
/// precision from the camera's side. Without the inverse, which takes as long as all else.
Matrix4x4_f forwardPose(const PanTiltPoses& head, float pan_angle, float tilt_angle);

}  // namespace norv::internal
