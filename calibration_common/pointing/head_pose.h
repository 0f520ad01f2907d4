#pragma once

#include "calibration_common/pan_tilt_model.h"
#include "support/matrix_types.h"

namespace norv::internal {

/// camera_from_base of a head at two motor positions, steps, to the bits of
/// `PanTiltModel::getFullTransform`: the product is formed in single precision from the camera's
/// side. Without the inverse, which takes as long as all else.
Matrix4x4_f forwardPose(const calibration::PanTiltModel& head, float pan, float tilt);

}  // namespace norv::internal
